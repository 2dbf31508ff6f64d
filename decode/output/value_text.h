// The values of records as text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "modem_stats/record_schema.h"

namespace decode {

/// The longest text of a value.
constexpr std::size_t max_value_size = 24;

/// Writes the value of `row` at the front of `bytes` to `out` and returns the end of the text. A
/// value that was not measured is written as `not_measured`. Floats get enough digits to read back
/// as the same float.
[[nodiscard]] char* write_value(char* out, const modem_stats::field_row& row,
                                const std::uint8_t* bytes, std::string_view not_measured);

/// Writes two lower-case hexadecimal digits per byte.
[[nodiscard]] char* write_hex(char* out, std::span<const std::uint8_t> bytes);

}  // namespace decode
