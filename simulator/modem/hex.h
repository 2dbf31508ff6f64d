// Bytes as the seed tables write them: pairs of hexadecimal digits with blanks between.
#pragma once

#include <charconv>
#include <cstdint>
#include <string_view>
#include <vector>

namespace sim {

[[nodiscard]] inline std::vector<std::uint8_t> bytes_of_hex(std::string_view text) {
  constexpr std::size_t step = 3;  // two digits and a blank
  std::vector<std::uint8_t> bytes;
  for (std::size_t at = 0; at + 1 < text.size(); at += step) {
    std::from_chars(text.data() + at, text.data() + at + 2, bytes.emplace_back(), 16);
  }
  return bytes;
}

}  // namespace sim
