// Reading fault rules about services.
#include <fmt/core.h>

#include <limits>

#include "simulator/diag/faults.h"
#include "simulator/faults/faults.h"
#include "simulator/faults/rule_text.h"
#include "simulator/number.h"

namespace sim {
namespace {

constexpr std::uint32_t max_16 = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint32_t max_32 = std::numeric_limits<std::uint32_t>::max();

/// In the order of `fault_action`.
constexpr action_form actions[] = {
    {"silent", value_use::none, 0, 0, "silent"},
    {"delay", value_use::needed, 0, max_32, "delay:MS"},
    {"error", value_use::needed, 1, max_16, "error:CODE"},
    {"result", value_use::needed, 0, max_32, "result:N"},
    {"truncate", value_use::needed, 0, max_16, "truncate:BYTES"},
    {"wrong-id", value_use::optional, 0, max_16, "wrong-id[:ID]"},
    {"down", value_use::optional, 0, max_32, "down[:MS]"},
};
static_assert(actions[static_cast<std::size_t>(fault_action::down)].name == "down");

const service_row* find_service(std::string_view text, std::span<const service_row> services) {
  const auto number = parse_number(text, 0, max_32);
  for (const service_row& row : services) {
    if (row.name == text || row.id == number) return &row;
  }
  return nullptr;
}

}  // namespace

fault_rule parse_fault_rule(std::string_view text, std::span<const service_row> services) {
  const rule_text read = read_rule(text, actions);
  fault_rule rule;
  rule.text = read.text;
  rule.nth = read.nth;
  rule.action = static_cast<fault_action>(read.action);
  rule.value = read.value;
  rule.service = find_service(read.target, services);
  if (rule.service == nullptr) {
    std::string names;
    for (const service_row& row : services) names.append(row.name).append(", ");
    refuse_rule(text,
                fmt::format("no service '{}' among the services {}{}", read.target, names,
                            diag::fault_target),
                actions);
  }
  if (read.message) {
    const auto id = parse_number(*read.message, 0, max_16);
    if (!id) {
      refuse_rule(text, fmt::format("'{}' is not a message number", *read.message), actions);
    }
    rule.message = static_cast<std::uint16_t>(*id);
  }
  if (rule.action == fault_action::result && rule.service->result_tlv == no_result_tlv) {
    refuse_rule(text, fmt::format("{} has no result of its own", rule.service->name), actions);
  }
  return rule;
}

}  // namespace sim
