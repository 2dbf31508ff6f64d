#include "decode/output/value_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "modem_stats/conversions.h"

namespace decode {

namespace {

using modem_stats::field_type;

template <typename T>
char* write_integer(char* out, const std::uint8_t* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return std::to_chars(out, out + max_value_size, value).ptr;
}

char* write_real(char* out, float value) {
  // Nearly every value has two decimals, and printing those takes a tenth of the time of finding
  // the shortest text. The comparison makes sure that the text reads back as the same float.
  const float hundredfold = std::round(value * 100.0F);
  if (std::fabs(hundredfold) < 1e6F) {
    const auto hundredths = static_cast<std::int32_t>(hundredfold);
    if (static_cast<float>(hundredths / 100.0) == value && hundredths != 0) {
      auto magnitude = static_cast<std::uint32_t>(std::abs(hundredths));
      if (hundredths < 0) *out++ = '-';
      out = std::to_chars(out, out + max_value_size, magnitude / 100).ptr;
      *out++ = '.';
      magnitude %= 100;
      *out++ = static_cast<char>('0' + magnitude / 10);
      *out++ = static_cast<char>('0' + magnitude % 10);
      return out;
    }
  }
  return std::to_chars(out, out + max_value_size, value).ptr;
}

}  // namespace

char* write_value(char* out, const modem_stats::field_row& row, const std::uint8_t* bytes,
                  std::string_view not_measured) {
  switch (row.type) {
    case field_type::uint8:
      return write_integer<std::uint8_t>(out, bytes);
    case field_type::uint16:
      return write_integer<std::uint16_t>(out, bytes);
    case field_type::uint32:
      return write_integer<std::uint32_t>(out, bytes);
    case field_type::uint64:
      return write_integer<std::uint64_t>(out, bytes);
    case field_type::int8:
      return write_integer<std::int8_t>(out, bytes);
    case field_type::int16:
      return write_integer<std::int16_t>(out, bytes);
    case field_type::int32:
      return write_integer<std::int32_t>(out, bytes);
    case field_type::float32:
      break;
  }
  float value = 0;
  std::memcpy(&value, bytes, sizeof value);
  if (value == modem_stats_not_measured || !std::isfinite(value)) {
    return std::copy(not_measured.begin(), not_measured.end(), out);
  }
  return write_real(out, value);
}

char* write_hex(char* out, std::span<const std::uint8_t> bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  for (const auto byte : bytes) {
    *out++ = digits[byte >> 4];
    *out++ = digits[byte & 0x0F];
  }
  return out;
}

}  // namespace decode
