// Reading fault rules.
#include <fmt/core.h>

#include <limits>

#include "simulator/failure.h"
#include "simulator/faults.h"
#include "simulator/number.h"

namespace sim {
namespace {

constexpr std::uint32_t max_16 = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint32_t max_32 = std::numeric_limits<std::uint32_t>::max();

enum class value_use : std::uint8_t { none, optional, needed };

struct action_row {
  std::string_view name;
  fault_action action;
  value_use value;
  std::uint32_t least;
  std::uint32_t most;
  const char* form;
};
constexpr action_row actions[] = {
    {"silent", fault_action::silent, value_use::none, 0, 0, "silent"},
    {"delay", fault_action::delay, value_use::needed, 0, max_32, "delay:MS"},
    {"error", fault_action::error, value_use::needed, 1, max_16, "error:CODE"},
    {"result", fault_action::result, value_use::needed, 0, max_32, "result:N"},
    {"truncate", fault_action::truncate, value_use::needed, 0, max_16, "truncate:BYTES"},
    {"wrong-id", fault_action::wrong_id, value_use::optional, 0, max_16, "wrong-id[:ID]"},
    {"down", fault_action::down, value_use::optional, 0, max_32, "down[:MS]"},
};

/// What is before `separator`, and what is behind it where there is one.
struct split_text {
  std::string_view before;
  std::optional<std::string_view> behind;
};
split_text split(std::string_view text, char separator) {
  const auto at = text.find(separator);
  if (at == std::string_view::npos) return {text, std::nullopt};
  return {text.substr(0, at), text.substr(at + 1)};
}

[[noreturn]] void refuse(std::string_view rule, const std::string& reason) {
  std::string forms;
  for (const action_row& row : actions) {
    forms += forms.empty() ? "" : ", ";
    forms += row.form;
  }
  throw usage_error(fmt::format(
      "--fault {}: {}; expected SERVICE[/MESSAGE[@N]]=ACTION[:VALUE] with one of the actions {}",
      rule, reason, forms));
}

const service_row* find_service(std::string_view text, std::span<const service_row> services) {
  const auto number = parse_number(text, 0, max_32);
  for (const service_row& row : services) {
    if (row.name == text || row.id == number) return &row;
  }
  return nullptr;
}

const action_row* find_action(std::string_view name) {
  for (const action_row& row : actions) {
    if (row.name == name) return &row;
  }
  return nullptr;
}

void parse_target(std::string_view target, std::span<const service_row> services,
                  fault_rule& rule) {
  const auto [service, message_and_nth] = split(target, '/');
  rule.service = find_service(service, services);
  if (rule.service == nullptr) refuse(rule.text, fmt::format("no service '{}'", service));
  if (!message_and_nth) return;

  const auto [message, nth] = split(*message_and_nth, '@');
  const auto id = parse_number(message, 0, max_16);
  if (!id) refuse(rule.text, fmt::format("'{}' is not a message number", message));
  rule.message = static_cast<std::uint16_t>(*id);
  if (!nth) return;

  rule.nth = parse_number(*nth, 1, max_32);
  if (!rule.nth) refuse(rule.text, fmt::format("'{}' is not a count from 1", *nth));
}

void parse_action(std::string_view text, fault_rule& rule) {
  const auto [name, value] = split(text, ':');
  const action_row* const row = find_action(name);
  if (row == nullptr) refuse(rule.text, fmt::format("no action '{}'", name));
  rule.action = row->action;
  if (rule.action == fault_action::result && rule.service->result_tlv == no_result_tlv) {
    refuse(rule.text, fmt::format("{} has no result of its own", rule.service->name));
  }
  if (!value) {
    if (row->value == value_use::needed) refuse(rule.text, fmt::format("{} needs a value", name));
    return;
  }
  if (row->value == value_use::none) refuse(rule.text, fmt::format("{} takes no value", name));
  rule.value = parse_number(*value, row->least, row->most);
  if (!rule.value) {
    refuse(rule.text,
           fmt::format("'{}' is not a number from {} to {}", *value, row->least, row->most));
  }
}

}  // namespace

fault_rule parse_fault_rule(std::string_view text, std::span<const service_row> services) {
  fault_rule rule;
  rule.text = text;
  const auto [target, action] = split(text, '=');
  if (!action) refuse(text, "there is no '='");
  parse_target(target, services, rule);
  parse_action(*action, rule);
  return rule;
}

}  // namespace sim
