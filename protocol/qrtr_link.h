// QRTR between two nodes: packets with a header of version 1, the one that Linux sends.
//   version u32 = 1 | type u32 | source node u32, port u32 | confirm_rx u32 | payload size u32 |
//   destination node u32, port u32 | payload | zeros up to a multiple of 4
#pragma once

#include <optional>
#include <vector>

#include "protocol/bytes.h"
#include "protocol/qrtr.h"

namespace protocol::qrtr {

struct link_packet {
  command type = command::data;
  address from;
  address to;
  byte_view payload;
  bool confirm_rx = false;  ///< a RESUME_TX is expected before many more
};

[[nodiscard]] std::vector<std::uint8_t> build_link_packet(const link_packet& packet);

/// No value for what is not one whole packet of version 1. The payload is a part of `bytes`.
[[nodiscard]] std::optional<link_packet> parse_link_packet(byte_view bytes);

}  // namespace protocol::qrtr
