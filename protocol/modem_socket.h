// The modem socket, a Unix SOCK_SEQPACKET socket. Each connection is one QRTR port of the local
// node; each packet is one datagram, preceded by its address:
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

/// The environment variable from which clients learn where their modem is.
inline constexpr const char* endpoint_variable = "TVK_MODEM";
/// The default: the name of a socket in the runtime directory.
inline constexpr const char* socket_name = "modem.sock";

constexpr std::size_t address_size = 8;
constexpr std::uint32_t modem_node = 0;
constexpr std::uint32_t local_node = 1;

/// Address, QMI header of 7 bytes, and TLVs, whose length QMI counts in 16 bits.
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
