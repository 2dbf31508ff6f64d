// The statistics record: what a parser makes of one log packet or event.
#pragma once

#include <cstdint>

/// Kinds of records. The numbers are fixed, a consumer keys on them; the rows of
/// modem_stats/records give them.
enum modem_stats_data_id_e_type : std::uint32_t {
  MODEM_STATS_DATA_ID_NONE = 146,  // no record
};

/// Longest `data` of a record, bytes.
constexpr unsigned modem_stats_max_data_len = 700;

/// A record and its `data` are two blocks of malloc; whoever receives a record frees both.
struct modem_stats_single_data_common_type {
  modem_stats_data_id_e_type data_id;
  std::uint32_t data_len;  // 1..700
  unsigned char* data;     // fields back to back, little-endian; which: modem_stats/record_table.h
};

/// A record with room for `data_len` bytes, not yet written. False, a line and `*out` untouched
/// when `data_len` is not in 1..700. `flag` has no meaning.
bool modem_stats_new_single_ex(modem_stats_data_id_e_type data_id, unsigned data_len,
                               unsigned char flag, modem_stats_single_data_common_type** out);

/// Null is allowed.
void modem_stats_free_single(modem_stats_single_data_common_type* record);
