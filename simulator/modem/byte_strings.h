// Bytes as tables write them, copied, and as texts.
#pragma once

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/bytes.h"

namespace sim {

/// Pairs of hexadecimal digits with a blank between.
[[nodiscard]] inline std::vector<std::uint8_t> bytes_of_hex(std::string_view text) {
  constexpr std::size_t step = 3;  // two digits and a blank
  std::vector<std::uint8_t> bytes;
  for (std::size_t at = 0; at + 1 < text.size(); at += step) {
    std::from_chars(text.data() + at, text.data() + at + 2, bytes.emplace_back(), 16);
  }
  return bytes;
}

[[nodiscard]] inline std::vector<std::uint8_t> copied(protocol::byte_view bytes) {
  return {bytes.begin(), bytes.end()};
}

[[nodiscard]] inline std::string_view text_of(protocol::byte_view bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
[[nodiscard]] inline protocol::byte_view bytes_of(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace sim
