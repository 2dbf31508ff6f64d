// Bytes as tests write them: "01 0400 ff".
#pragma once

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace support {

using bytes = std::vector<std::uint8_t>;

/// Pairs of hexadecimal digits; blanks are skipped; "00*4" is four times the byte, 'text' its
/// letters.
[[nodiscard]] inline bytes hex(std::string_view text) {
  const auto digit = [](char c) -> unsigned {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
    throw std::invalid_argument("not a hexadecimal digit in a test's bytes");
  };
  const auto is_blank = [](char c) { return c == ' ' || c == '\n'; };
  bytes out;
  for (std::size_t i = 0; i < text.size();) {
    if (is_blank(text[i])) {
      ++i;
      continue;
    }
    if (text[i] == '\'') {
      while (text.at(++i) != '\'') out.push_back(static_cast<std::uint8_t>(text[i]));
      ++i;
      continue;
    }
    if (text[i] == '*') {
      std::size_t times = 0;
      while (++i < text.size() && !is_blank(text[i])) times = 10 * times + digit(text[i]);
      out.insert(out.end(), times - 1, out.back());
      continue;
    }
    if (i + 1 == text.size()) throw std::invalid_argument("half a byte in a test's bytes");
    out.push_back(static_cast<std::uint8_t>(digit(text[i]) << 4 | digit(text[i + 1])));
    i += 2;
  }
  return out;
}

[[nodiscard]] inline bytes fill(std::size_t count, std::uint8_t value = 0) {
  return bytes(count, value);
}

/// Itself and zeros, or its first bytes; an extension message has 512.
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

[[nodiscard]] inline bytes u32(std::uint32_t value) {
  bytes out;
  for (int shift = 0; shift < 32; shift += 8) {
    out.push_back(static_cast<std::uint8_t>(value >> shift));
  }
  return out;
}

[[nodiscard]] inline std::uint32_t u32_at(const bytes& from, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i > 0; --i) value = value << 8 | from.at(at + i - 1);
  return value;
}

[[nodiscard]] inline bytes operator+(bytes left, const bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

}  // namespace support
