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

struct rule_text {
  std::string text;  ///< as the user wrote it
  std::string_view target;
  std::optional<std::string_view> message;
  std::optional<std::uint32_t> nth;
  std::size_t action = 0;  ///< its index among the forms
  std::optional<std::uint32_t> value;
};

/// Throws `usage_error`, which names the rule and the form expected. The views lie in `text`.
[[nodiscard]] rule_text read_rule(std::string_view text, std::span<const action_form> actions);

/// What the rule is about.
[[nodiscard]] std::string_view target_of_rule(std::string_view text);

[[noreturn]] void refuse_rule(std::string_view rule, const std::string& reason,
                              std::span<const action_form> actions);

/// Rules, and how many requests each has matched so far. Rule has an optional `nth`.
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
