// Values of records as text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "modem_stats/record_schema.h"

namespace decode {

/// No value is longer.
constexpr std::size_t max_value_size = 24;

/// Writes the value of `row` at the front of `bytes` and gives the end of it. A value that was not
/// measured is written as `not_measured`. A float has as many digits as it takes to read the same
/// float again.
[[nodiscard]] char* write_value(char* out, const modem_stats::field_row& row,
                                const std::uint8_t* bytes, std::string_view not_measured);

/// Two lower-case hexadecimal digits a byte.
[[nodiscard]] char* write_hex(char* out, std::span<const std::uint8_t> bytes);

}  // namespace decode
