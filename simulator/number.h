// Numbers as users write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace sim {

/// Decimal, or hexadecimal behind 0x. Nothing for any other text and for what is out of range.
[[nodiscard]] std::optional<std::uint32_t> parse_number(std::string_view text, std::uint32_t least,
                                                        std::uint32_t most);

}  // namespace sim
