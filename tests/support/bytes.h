// Bytes as tests write them: "01 0400 ff".
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace support {

using bytes = std::vector<std::uint8_t>;

/// Pairs of hexadecimal digits; blanks are skipped; "00*4" is four times the byte, 'text' its
/// letters.
[[nodiscard]] inline bytes hex(std::string_view text) {
  bytes out;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end;) {
    unsigned value = 0;
    if (*at == ' ' || *at == '\n') {
      ++at;
    } else if (*at == '*') {
      at = std::from_chars(at + 1, end, value).ptr;
      out.insert(out.end(), value - 1, out.back());
    } else if (*at == '\'') {
      const char* const close = std::find(at + 1, end, '\'');
      if (close == end) throw std::invalid_argument(at);
      out.insert(out.end(), at + 1, close);
      at = close + 1;
    } else {
      const char* const pair = std::exchange(at, at + std::min<std::ptrdiff_t>(2, end - at));
      if (std::from_chars(pair, at, value, 16).ptr != pair + 2) throw std::invalid_argument(pair);
      out.push_back(static_cast<std::uint8_t>(value));
    }
  }
  return out;
}

/// The other way round, in lower case.
[[nodiscard]] inline std::string digits_of(std::span<const std::uint8_t> data) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const auto byte : data) text += {digits[byte >> 4], digits[byte & 15]};
  return text;
}

[[nodiscard]] inline bytes fill(std::size_t count, std::uint8_t value = 0) {
  return bytes(count, value);
}

/// The bytes and zeros after them, or the first of them: an extension message has 512.
[[nodiscard]] inline bytes padded(bytes data, std::size_t size = 512) {
  data.resize(size);
  return data;
}

[[nodiscard]] inline bytes slice(const bytes& all, std::size_t from,
                                 std::size_t end = std::string::npos) {
  const auto at = [&](std::size_t place) {
    return all.begin() + static_cast<std::ptrdiff_t>(std::min(place, all.size()));
  };
  return {at(from), at(end)};
}

[[nodiscard]] inline bytes ascii(std::string_view text) {
  return {text.begin(), text.end()};
}

[[nodiscard]] inline bytes u16(std::size_t value) {
  return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)};
}

[[nodiscard]] inline bytes operator+(bytes left, const bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

[[nodiscard]] inline bytes u32(std::uint32_t value) {
  return u16(value) + u16(value >> 16);
}

[[nodiscard]] inline std::uint32_t u32_at(const bytes& from, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i > 0; --i) value = value << 8 | from.at(at + i - 1);
  return value;
}

}  // namespace support
