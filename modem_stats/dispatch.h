// From a log code or event id to its parser.
#pragma once

#include <cstdint>

#include "modem_stats/packet.h"

/// Decodes a payload that stands for any packet: reads beyond `length` bytes see zeros, up to 2000
/// bytes. Lines go to standard output, what decoders remember is the process's, and the record is
/// dropped. Codes and ids without a parser are passed over. One thread at a time.
void modem_stats_diag_process_log_ex(int sub_id, unsigned short log_code, unsigned char length,
                                     unsigned char* payload);
void modem_stats_diag_process_event_ex(int sub_id, unsigned short event_id, unsigned char length,
                                       unsigned char* payload);

namespace modem_stats {

[[nodiscard]] bool has_parser(packet_kind kind, std::uint16_t id);

/// Decodes one packet as captured: its payload is what follows the log header or the event's time,
/// and reads end with it. Threads that share nothing of the arguments do not disturb each other.
packet_outcome decode_packet(const packet& packet, const packet_sinks& to, stream_state& state);

}  // namespace modem_stats
