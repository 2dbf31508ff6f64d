// Messages as packets of a capture file: in GSMTAP, or as Wireshark exports the packets of a
// dissector.
#pragma once

#include <cstddef>
#include <cstdint>

#include "decode/signalling/message.h"

namespace decode::signalling {

/// Link types of capture files.
constexpr std::uint16_t raw_ip_link = 101;
constexpr std::uint16_t exported_pdu_link = 252;

[[nodiscard]] std::uint16_t link_of(const message& one);

constexpr std::size_t most_frame_header = 128;
/// Writes what comes before the message's bytes and returns its end.
[[nodiscard]] char* write_frame_header(const message& one, char* out);

}  // namespace decode::signalling
