// How a fault rule is written, whatever it is about:
//   TARGET[/MESSAGE[@N]]=ACTION[:VALUE]
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim {

enum class value_use : std::uint8_t { none, optional, needed };

struct action_form {
  std::string_view name;
  value_use value;
  std::uint32_t least;
  std::uint32_t most;
  const char* form;
};

// Limits of what a value stands for.
constexpr std::uint32_t max_8 = 0xFF;
constexpr std::uint32_t max_16 = 0xFFFF;
constexpr std::uint32_t max_32 = 0xFFFFFFFF;

/// The parts of a rule, which lie in its text.
class rule_text {
 public:
  /// Throws as refuse() does.
  rule_text(std::string_view whole, std::span<const action_form> actions);

  /// Throws `usage_error`, which names the rule and the form expected.
  [[noreturn]] void refuse(const std::string& reason) const;

  std::string_view text;  ///< as the user wrote it
  std::string_view target;
  std::optional<std::string_view> message;
  std::optional<std::uint32_t> nth;
  std::size_t action = 0;  ///< its index among the forms
  std::optional<std::uint32_t> value;

 private:
  void read_action(std::string_view action_text);

  std::span<const action_form> actions_;
};

/// What the rule is about.
[[nodiscard]] std::string_view target_of_rule(std::string_view text);

/// What rules of all kinds have. Action is an enumeration in the order of the forms.
template <typename Action>
struct rule {
  explicit rule(const rule_text& read)
      : text(read.text),
        nth(read.nth),
        action(static_cast<Action>(read.action)),
        value(read.value) {}

  std::string text;
  std::optional<std::uint32_t> nth;
  Action action;
  std::optional<std::uint32_t> value;
};

/// Rules, and how many requests each has matched so far.
template <typename Rule>
class counted_rules {
 public:
  void add(Rule rule) { rules_.push_back({std::move(rule)}); }

  /// Counts a request; the first rule that strikes it, or null.
  template <typename Fits>
  [[nodiscard]] const Rule* strike(Fits fits) {
    const Rule* first = nullptr;
    // All of them: a rule after the first that strikes still counts this request.
    for (counted& each : rules_) {
      if (!fits(each.rule)) continue;
      ++each.requests;
      const bool now = !each.rule.nth || *each.rule.nth == each.requests;
      if (first == nullptr && now) first = &each.rule;
    }
    return first;
  }

 private:
  struct counted {
    Rule rule;
    std::uint64_t requests = 0;
  };
  std::vector<counted> rules_;
};

}  // namespace sim
