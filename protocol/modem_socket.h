// The modem socket: a Unix SOCK_SEQPACKET socket, one connection one QRTR port of the local node,
// one packet one datagram behind its address:
//   node u32 | port u32 | the datagram's bytes
// The address is the destination when sent to the modem, the source when received from it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "protocol/bytes.h"
#include "protocol/qrtr.h"

namespace protocol::modem_socket {

constexpr std::size_t address_size = 8;
constexpr std::uint32_t modem_node = 0;
constexpr std::uint32_t local_node = 1;

/// A datagram holds at most this much; QMI's TLV length is 16 bits behind a 7-byte header.
constexpr std::size_t max_packet_size = address_size + 7 + 65535;

[[nodiscard]] inline std::array<std::uint8_t, address_size> build_address(qrtr::address at) {
  std::array<std::uint8_t, address_size> bytes{};
  store_le(at.node, bytes);
  store_le(at.port, std::span(bytes).subspan(4));
  return bytes;
}

/// `packet` must have at least address_size bytes.
[[nodiscard]] inline qrtr::address parse_address(byte_view packet) {
  return {load_le<std::uint32_t>(packet), load_le<std::uint32_t>(packet.subspan(4))};
}

}  // namespace protocol::modem_socket
