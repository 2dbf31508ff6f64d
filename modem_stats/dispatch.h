// Finds and runs the parser for a log code or event id.
#pragma once

#include <cstdint>
#include <string_view>

#include "modem_stats/packet.h"

/// Decodes a test payload, which may be shorter than a real packet: bytes after `length` read as
/// zeros, up to 2000 bytes. Lines go to standard output, decoders use the process-wide state, and
/// the record is dropped. Codes and ids without a parser are ignored. Not thread-safe.
void modem_stats_diag_process_log_ex(int sub_id, unsigned short log_code, unsigned char length,
                                     unsigned char* payload);
void modem_stats_diag_process_event_ex(int sub_id, unsigned short event_id, unsigned char length,
                                       unsigned char* payload);

namespace modem_stats {

[[nodiscard]] bool has_parser(packet_kind kind, std::uint16_t id);
/// A name such as "lte_srv_meas"; empty without a parser.
[[nodiscard]] std::string_view packet_name(packet_kind kind, std::uint16_t id);

/// Decodes a captured packet. The payload is what follows the log header or the event's time;
/// nothing after it is read. Thread-safe if the threads share no arguments.
packet_outcome decode_packet(const packet& packet, const packet_sinks& to, stream_state& state,
                             version_set versions = version_set::product);

}  // namespace modem_stats
