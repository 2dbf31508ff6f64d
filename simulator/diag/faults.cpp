#include "simulator/diag/faults.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>

namespace sim::diag {
namespace {

/// In the order of `fault_action`.
constexpr action_form actions[] = {
    {"silent", value_use::none, 0, 0, "silent"},
    {"delay", value_use::needed, 0, max_32, "delay:MS"},
    {"error", value_use::needed, 1, max_8, "error:CODE"},
    {"bad-crc", value_use::none, 0, 0, "bad-crc"},
    {"split", value_use::optional, 1, max_16, "split[:BYTES]"},
    {"truncate", value_use::needed, 1, max_16, "truncate:BYTES"},
    {"log", value_use::optional, 1, max_16, "log[:COUNT]"},
    {"disconnect", value_use::none, 0, 0, "disconnect"},
};
static_assert(actions[static_cast<std::size_t>(fault_action::disconnect)].name == "disconnect");

/// Pairs of digits after 0x, in wire order.
std::optional<std::vector<std::uint8_t>> parse_bytes(std::string_view text) {
  if (!text.starts_with("0x") || text.size() == 2 || text.size() % 2 != 0) return std::nullopt;
  std::vector<std::uint8_t> bytes;
  for (std::size_t at = 2; at < text.size(); at += 2) {
    const char* const end = text.data() + at + 2;
    const auto [stop, error] = std::from_chars(text.data() + at, end, bytes.emplace_back(), 16);
    if (error != std::errc() || stop != end) return std::nullopt;
  }
  return bytes;
}

}  // namespace

fault_rule parse_fault_rule(std::string_view text) {
  const rule_text read(text, actions);
  fault_rule rule(read);
  if (!read.message) return rule;
  auto bytes = parse_bytes(*read.message);
  if (!bytes) {
    read.refuse(
        fmt::format("'{}' is not the beginning of a request, such as 0x4B0B", *read.message));
  }
  rule.bytes = *std::move(bytes);
  return rule;
}

const fault_rule* faults::strike(protocol::byte_view request) {
  return rules_.strike([&](const fault_rule& rule) {
    return rule.bytes.size() <= request.size() &&
           std::ranges::equal(rule.bytes, request.first(rule.bytes.size()));
  });
}

}  // namespace sim::diag
