// Numbers as users write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace sim {

/// Decimal, or hexadecimal after 0x. Nothing for any other text or a number out of range.
[[nodiscard]] std::optional<std::uint32_t> parse_number(std::string_view text, std::uint32_t least,
                                                        std::uint32_t most);

}  // namespace sim
