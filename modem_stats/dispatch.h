// From a log code or event id to its parser.
#pragma once

#include <cstdint>
#include <span>

#include "modem_stats/record.h"

/// Decodes a payload that stands for any packet: reads beyond `length` bytes see zeros, up to 2000
/// bytes. Other codes and ids than those of dispatch_rows.h are passed over.
void modem_stats_diag_process_log_ex(int sub_id, unsigned short log_code, unsigned char length,
                                     unsigned char* payload);
void modem_stats_diag_process_event_ex(int sub_id, unsigned short event_id, unsigned char length,
                                       unsigned char* payload);

namespace modem_stats {

enum class packet_kind : std::uint8_t { log, event };

/// What a packet gave: no record, or one that the receiver frees (modem_stats_free_single).
struct decoded_packet {
  modem_stats_data_id_e_type data_id = MODEM_STATS_DATA_ID_NONE;
  modem_stats_single_data_common_type* record = nullptr;
};

[[nodiscard]] bool has_parser(packet_kind kind, std::uint16_t id);

/// Decodes one packet as captured: `payload` is what follows the log header or the event's time,
/// and reads end with it. Lines and records go where this thread's decoding_context says.
decoded_packet decode_packet(packet_kind kind, int sub_id, std::uint16_t id,
                             std::span<const std::uint8_t> payload);

}  // namespace modem_stats
