#include "simulator/faults/rule_text.h"

#include <fmt/core.h>

#include <algorithm>
#include <limits>

#include "simulator/failure.h"
#include "simulator/number.h"

namespace sim {
namespace {

/// What comes before `separator`, and what comes after it if there is one.
struct split_text {
  std::string_view before;
  std::optional<std::string_view> after;
};
split_text split(std::string_view text, char separator) {
  const auto at = text.find(separator);
  if (at == std::string_view::npos) return {text, std::nullopt};
  return {text.substr(0, at), text.substr(at + 1)};
}

void read_action(std::string_view text, std::span<const action_form> actions, rule_text& rule) {
  const auto [name, value] = split(text, ':');
  const auto row = std::ranges::find(actions, name, &action_form::name);
  if (row == actions.end()) refuse_rule(rule.text, fmt::format("no action '{}'", name), actions);
  rule.action = static_cast<std::size_t>(row - actions.begin());
  if (!value) {
    if (row->value == value_use::needed) {
      refuse_rule(rule.text, fmt::format("{} needs a value", name), actions);
    }
    return;
  }
  if (row->value == value_use::none) {
    refuse_rule(rule.text, fmt::format("{} takes no value", name), actions);
  }
  rule.value = parse_number(*value, row->least, row->most);
  if (rule.value) return;
  refuse_rule(rule.text,
              fmt::format("'{}' is not a number from {} to {}", *value, row->least, row->most),
              actions);
}

}  // namespace

std::string_view target_of_rule(std::string_view text) {
  return split(split(text, '=').before, '/').before;
}

void refuse_rule(std::string_view rule, const std::string& reason,
                 std::span<const action_form> actions) {
  std::string forms;
  for (const action_form& row : actions) {
    forms += forms.empty() ? "" : ", ";
    forms += row.form;
  }
  throw usage_error(fmt::format(
      "--fault {}: {}; expected SERVICE[/MESSAGE[@N]]=ACTION[:VALUE] with one of the actions {}",
      rule, reason, forms));
}

rule_text read_rule(std::string_view text, std::span<const action_form> actions) {
  rule_text rule;
  rule.text = text;
  const auto [about, action] = split(text, '=');
  if (!action) refuse_rule(text, "there is no '='", actions);
  const auto [target, message_and_nth] = split(about, '/');
  rule.target = target;
  if (message_and_nth) {
    const auto [message, nth] = split(*message_and_nth, '@');
    rule.message = message;
    if (nth) {
      rule.nth = parse_number(*nth, 1, std::numeric_limits<std::uint32_t>::max());
      if (!rule.nth) refuse_rule(text, fmt::format("'{}' is not a count from 1", *nth), actions);
    }
  }
  read_action(*action, actions, rule);
  return rule;
}

}  // namespace sim
