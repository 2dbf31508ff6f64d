#include "simulator/faults/rule_text.h"

#include <fmt/core.h>

#include <algorithm>

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

}  // namespace

std::string_view target_of_rule(std::string_view text) {
  return split(split(text, '=').before, '/').before;
}

rule_text::rule_text(std::string_view whole, std::span<const action_form> actions)
    : text(whole), actions_(actions) {
  const auto [about, action_text] = split(text, '=');
  if (!action_text) refuse("there is no '='");
  const auto [about_what, message_and_nth] = split(about, '/');
  target = about_what;
  if (message_and_nth) {
    const auto [about_message, count] = split(*message_and_nth, '@');
    message = about_message;
    if (count) {
      nth = parse_number(*count, 1, max_32);
      if (!nth) refuse(fmt::format("'{}' is not a count from 1", *count));
    }
  }
  read_action(*action_text);
}

void rule_text::read_action(std::string_view action_text) {
  const auto [name, number] = split(action_text, ':');
  const auto row = std::ranges::find(actions_, name, &action_form::name);
  if (row == actions_.end()) refuse(fmt::format("no action '{}'", name));
  action = static_cast<std::size_t>(row - actions_.begin());
  if (!number) {
    if (row->value == value_use::needed) refuse(fmt::format("{} needs a value", name));
    return;
  }
  if (row->value == value_use::none) refuse(fmt::format("{} takes no value", name));
  value = parse_number(*number, row->least, row->most);
  if (value) return;
  refuse(fmt::format("'{}' is not a number from {} to {}", *number, row->least, row->most));
}

void rule_text::refuse(const std::string& reason) const {
  std::string forms;
  for (const action_form& row : actions_) {
    forms += forms.empty() ? "" : ", ";
    forms += row.form;
  }
  throw usage_error(fmt::format(
      "--fault {}: {}; expected SERVICE[/MESSAGE[@N]]=ACTION[:VALUE] with one of the actions {}",
      text, reason, forms));
}

}  // namespace sim
