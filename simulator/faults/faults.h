// Faults that the user asks the modem to have. A rule reads
//   SERVICE[/MESSAGE[@N]]=ACTION[:VALUE]
// and strikes every request of the service, of one of its messages, or only the N-th of that
// message since the start. The first rule given that fits a request is the one that strikes it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "simulator/faults/rule_text.h"
#include "simulator/service.h"

namespace sim {

enum class fault_action : std::uint8_t {
  silent,    ///< no answer
  delay,     ///< the answer comes VALUE milliseconds late
  error,     ///< a standard response with error VALUE
  result,    ///< the service's own result becomes VALUE
  truncate,  ///< only the first VALUE bytes of the TLVs
  wrong_id,  ///< the answer has message id VALUE, or the next one
  down,      ///< the service goes down instead, for VALUE milliseconds or for good
};

struct fault_rule : rule<fault_action> {
  using rule::rule;

  const service_row* service = nullptr;
  std::optional<std::uint16_t> message;

  /// A rule that takes down a whole service strikes at the start; no request triggers it.
  [[nodiscard]] bool strikes_at_start() const { return action == fault_action::down && !message; }
};

/// Throws `usage_error`, which names the rule and the form expected.
[[nodiscard]] fault_rule parse_fault_rule(std::string_view text,
                                          std::span<const service_row> services);

/// Changes an answer for `result`, `truncate` and `wrong_id`; leaves it alone for all others.
void alter_answer(const fault_rule& rule, std::vector<std::uint8_t>& datagram);

class faults {
 public:
  explicit faults(std::vector<fault_rule> rules);

  /// Counts a request; the rule that strikes it, or null.
  [[nodiscard]] const fault_rule* strike(const service_row& service, std::uint16_t message_id);

  /// The rules that strike at the start, in the order given.
  [[nodiscard]] const std::vector<fault_rule>& at_start() const { return at_start_; }

 private:
  counted_rules<fault_rule> on_request_;
  std::vector<fault_rule> at_start_;
};

}  // namespace sim
