#include "decode/output/value_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "modem_stats/digits.h"

namespace decode {

namespace {

using modem_stats::field_type;

template <typename T>
T load(const std::uint8_t* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// An integer that counts ones, tenths, hundredths and so on, with at least one decimal: readers
/// that guess types are to see a number in every record, not an integer in some of them.
char* write_decimal(char* out, std::int64_t value, unsigned decimals) {
  if (decimals == 0) {
    value *= 10;
    decimals = 1;
  }
  if (value < 0) *out++ = '-';
  const auto magnitude = static_cast<std::uint64_t>(std::abs(value));
  std::uint64_t one = 1;
  for (unsigned i = 0; i < decimals; ++i) one *= 10;
  out = std::to_chars(out, out + max_value_size, magnitude / one).ptr;
  *out++ = '.';
  for (auto rest = magnitude % one; one > 1; rest %= one) {
    one /= 10;
    *out++ = static_cast<char>('0' + rest / one);
  }
  return out;
}

template <typename T>
char* write_integer(char* out, const std::uint8_t* bytes, const modem_stats::column& column) {
  const auto value = load<T>(bytes);
  if (column.type == modem_stats::value_type::number) {
    return write_decimal(out, static_cast<std::int64_t>(value), column.field->decimals);
  }
  return std::to_chars(out, out + max_value_size, value).ptr;
}

/// The value of a code or version, which are unsigned.
std::uint64_t load_unsigned(field_type type, const std::uint8_t* bytes) {
  switch (modem_stats::size_of(type)) {
    case 1:
      return *bytes;
    case 2:
      return load<std::uint16_t>(bytes);
    case 4:
      return load<std::uint32_t>(bytes);
    default:
      return load<std::uint64_t>(bytes);
  }
}

char* put(char* out, std::string_view text) {
  return std::copy(text.begin(), text.end(), out);
}

char* write_text(char* out, const modem_stats::column& column, const std::uint8_t* part,
                 const std::uint8_t* record, const value_style& style) {
  const auto number = load_unsigned(column.field->type, part + column.byte);
  if (column.means == nullptr) {
    out = put(out, style.quote);
    out = modem_stats::write_version(out, static_cast<std::uint32_t>(number));
    return put(out, style.quote);
  }
  // Only packets with versions of four bytes have codes that depend on them, and begin with these.
  const std::uint32_t version =
      column.means->texts_before_3.empty() ? 0 : load<std::uint32_t>(record);
  const auto text = modem_stats::text_of(*column.means, number, version);
  if (text.empty()) return put(out, style.null);
  if (column.type != modem_stats::value_type::text) return put(out, text);
  return put(put(put(out, style.quote), text), style.quote);
}

}  // namespace

char* write_real(char* out, float value, const value_style& style) {
  // Nearly every value has two decimals, and printing those takes a tenth of the time of finding
  // the shortest text. The comparison makes sure that the text reads back as the same float: up to
  // here, the product rounds to the same float as the quotient by 100.
  const float magnitude = std::fabs(value);
  if (magnitude < 1e4F) {
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): what rounds wrongly fails the comparison.
    const auto hundredths = static_cast<std::uint32_t>(magnitude * 100.0F + 0.5F);
    if (static_cast<float>(hundredths * 0.01) == magnitude && hundredths != 0) {
      *out = '-';
      return modem_stats::write_hundredths(out + (value < 0 ? 1 : 0), hundredths);
    }
  }
  if (value == 0) return put(out, std::signbit(value) ? "-0.00" : "0.00");
  if (!std::isfinite(value)) return put(out, style.null);
  return std::to_chars(out, out + max_value_size, value).ptr;
}

char* write_value(char* out, const modem_stats::column& column, const std::uint8_t* part,
                  const std::uint8_t* record, const value_style& style) {
  if (column.is_null(part)) return put(out, style.null);
  if (column.means != nullptr || column.type == modem_stats::value_type::text) {
    return write_text(out, column, part, record, style);
  }
  const std::uint8_t* const bytes = part + column.byte;
  switch (column.field->type) {
    case field_type::uint8:
      return write_integer<std::uint8_t>(out, bytes, column);
    case field_type::uint16:
      return write_integer<std::uint16_t>(out, bytes, column);
    case field_type::uint32:
      return write_integer<std::uint32_t>(out, bytes, column);
    case field_type::uint64:
      return write_integer<std::uint64_t>(out, bytes, column);
    case field_type::int8:
      return write_integer<std::int8_t>(out, bytes, column);
    case field_type::int16:
      return write_integer<std::int16_t>(out, bytes, column);
    case field_type::int32:
      return write_integer<std::int32_t>(out, bytes, column);
    case field_type::float32:
      break;
  }
  return write_real(out, load<float>(bytes), style);
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
