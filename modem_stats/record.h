// The statistics record: what a parser extracts from one log packet or event.
#pragma once

#include <cstdint>

/// Kinds of records. Consumers rely on the numbers, which are in modem_stats/records.
enum modem_stats_data_id_e_type : std::uint32_t {
  MODEM_STATS_DATA_ID_NONE = 146,  // no record
};

/// Longest `data` of a record, bytes.
constexpr unsigned modem_stats_max_data_len = 700;

/// A record and its `data` are two malloc'ed blocks; the receiver of a record frees both.
struct modem_stats_single_data_common_type {
  modem_stats_data_id_e_type data_id;
  std::uint32_t data_len;  // 1..700
  unsigned char* data;     // packed fields, little-endian, as in modem_stats/record_table.h
};

/// Allocates a record with uninitialised room for `data_len` bytes. When `data_len` is not in
/// 1..700, prints a line, leaves `*out` unchanged and returns false. `flag` is ignored.
bool modem_stats_new_single_ex(modem_stats_data_id_e_type data_id, unsigned data_len,
                               unsigned char flag, modem_stats_single_data_common_type** out);

/// Null is allowed.
void modem_stats_free_single(modem_stats_single_data_common_type* record);
