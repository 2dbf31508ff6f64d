#include "simulator/number.h"

#include <charconv>

namespace sim {

std::optional<std::uint32_t> parse_number(std::string_view text, std::uint32_t least,
                                          std::uint32_t most) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  std::uint32_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, hex ? 16 : 10);
  if (error != std::errc() || stop != end || value < least || value > most) return std::nullopt;
  return value;
}

}  // namespace sim
