// The values of records as text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "modem_stats/columns.h"

namespace decode {

/// The longest text of a value.
constexpr std::size_t max_value_size = 40;

/// How a format writes values that are null, and what it puts around texts.
struct value_style {
  std::string_view null;
  std::string_view quote;
};
constexpr value_style json_values{"null", "\""};
constexpr value_style csv_values{"", ""};
constexpr value_style json_values_in_csv{"null", "\"\""};

/// Writes the value of a column in the part that begins at `part`, of the record that begins at
/// `record`, to `out` and returns the end of the text. Floats get enough digits to read back as the
/// same float.
[[nodiscard]] char* write_value(char* out, const modem_stats::column& column,
                                const std::uint8_t* part, const std::uint8_t* record,
                                const value_style& style);

/// The value of a float field that is not null by its rule.
[[nodiscard]] char* write_real(char* out, float value, const value_style& style);

/// Writes two lower-case hexadecimal digits per byte.
[[nodiscard]] char* write_hex(char* out, std::span<const std::uint8_t> bytes);

}  // namespace decode
