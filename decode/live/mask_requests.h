// The requests that set which logs and events a DIAG port sends, and their answers.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>
#include <vector>

#include "protocol/bytes.h"

namespace decode {

using diag_packet = std::vector<std::uint8_t>;

/// One bit per item, lowest bit first.
struct bit_mask {
  std::uint32_t bits = 0;  // number of valid bits
  std::vector<std::uint8_t> bytes;

  void set(std::size_t bit);
  /// Sets the bits that are set in `other`.
  void add(const bit_mask& other);
  /// Clears the bits that are set in `other`.
  void remove(const bit_mask& other);
  [[nodiscard]] bool any() const;
};
[[nodiscard]] bit_mask empty_mask(std::uint32_t bits);

constexpr unsigned num_equipments = 16;  // the upper 4 bits of a log code

[[nodiscard]] diag_packet get_log_ranges();
[[nodiscard]] diag_packet get_log_mask(unsigned equipment);
[[nodiscard]] diag_packet set_log_mask(unsigned equipment, const bit_mask& mask);
[[nodiscard]] diag_packet get_event_mask();
[[nodiscard]] diag_packet set_event_mask(const bit_mask& mask);
[[nodiscard]] diag_packet report_events(bool on);

/// No value when the answer is an error or malformed.
[[nodiscard]] std::optional<std::array<std::uint32_t, num_equipments>> log_ranges(
    protocol::byte_view answer);
[[nodiscard]] std::optional<bit_mask> log_mask(protocol::byte_view answer);
[[nodiscard]] std::optional<bit_mask> event_mask(protocol::byte_view answer);
/// Whether the answer confirms a request that sets a mask.
[[nodiscard]] bool is_done(protocol::byte_view answer);

}  // namespace decode
