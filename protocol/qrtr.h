// QRTR: addresses, and the 20-byte control packets that announce and look up services.
//   command u32 | server form: service u32, instance word u32, node u32, port u32
//               | client form: node u32, port u32, 0, 0
// The instance word is (instance << 8) | version of the service. All integers are little-endian.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "protocol/bytes.h"

namespace protocol::qrtr {

struct address {
  std::uint32_t node = 0;
  std::uint32_t port = 0;

  friend bool operator==(const address&, const address&) = default;
  // clang-tidy 14 sees a 0 that the compiler adds.
  friend auto operator<=>(const address&,
                          const address&) = default;  // NOLINT(modernize-use-nullptr)
};

constexpr std::uint32_t control_port = 0xFFFFFFFE;

/// Also the types of packets on a link.
enum class command : std::uint32_t {
  data = 1,  ///< on links only, as are the next one and RESUME_TX
  hello = 2,
  new_server = 4,
  del_server = 5,
  del_client = 6,
  resume_tx = 7,
  new_lookup = 10,
  del_lookup = 11,
};

/// A service on a port. In a lookup, service 0 and instance word 0 match any.
struct server {
  std::uint32_t service = 0;
  std::uint32_t instance_word = 0;
  address at;

  [[nodiscard]] constexpr std::uint32_t version() const { return instance_word & 0xFF; }
  [[nodiscard]] constexpr std::uint32_t instance() const { return instance_word >> 8; }
  /// The list that answers a lookup ends with a NEW_SERVER of zeros.
  [[nodiscard]] constexpr bool is_end_of_list() const { return *this == server{}; }

  friend bool operator==(const server&, const server&) = default;
};

struct control_packet {
  command cmd = command::new_server;
  server about;  ///< client form: only `at`
};

constexpr std::size_t control_packet_size = 20;

/// No value for fewer than 20 bytes or a command that sockets do not get.
[[nodiscard]] std::optional<control_packet> parse_control(byte_view datagram);

[[nodiscard]] std::array<std::uint8_t, control_packet_size> build_control(
    const control_packet& packet);

[[nodiscard]] constexpr bool lookup_matches(const server& lookup, const server& candidate) {
  return (lookup.service == 0 || lookup.service == candidate.service) &&
         (lookup.instance_word == 0 || lookup.instance_word == candidate.instance_word);
}

}  // namespace protocol::qrtr
