// Numbers as decimal digits, for outputs that consist of them: most are small, and std::to_chars is
// made for any.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace modem_stats {

/// The longest text of these functions.
inline constexpr std::size_t max_digits = 14;

/// "00" to "99".
inline constexpr auto digit_pairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

/// These write to `out` and return the end. The number is below 100.
inline char* write_pair(char* out, std::uint32_t number) {
  std::memcpy(out, digit_pairs.data() + std::size_t{2} * number, 2);
  return out + 2;
}

inline char* write_unsigned(char* out, std::uint32_t number) {
  if (number < 10) {
    *out = static_cast<char>('0' + number);
    return out + 1;
  }
  if (number < 100) return write_pair(out, number);
  if (number < 1000) {
    *out = static_cast<char>('0' + number / 100);
    return write_pair(out + 1, number % 100);
  }
  if (number < 10'000) return write_pair(write_pair(out, number / 100), number % 100);
  return std::to_chars(out, out + max_digits, number).ptr;
}

inline char* write_signed(char* out, std::int32_t number) {
  if (number >= 0) return write_unsigned(out, static_cast<std::uint32_t>(number));
  *out = '-';
  return write_unsigned(out + 1, 0U - static_cast<std::uint32_t>(number));
}

/// With two decimals.
inline char* write_hundredths(char* out, std::uint32_t hundredths) {
  out = write_unsigned(out, hundredths / 100);
  *out = '.';
  return write_pair(out + 1, hundredths % 100);
}

}  // namespace modem_stats
