// Faults of the DIAG port. A rule reads
//   diag[/0xBYTES[@N]]=ACTION[:VALUE]
// and strikes every request, those that begin with the bytes, or the N-th of these.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "protocol/bytes.h"
#include "simulator/faults/rule_text.h"

namespace sim::diag {

enum class fault_action : std::uint8_t {
  silent,      ///< no answer, the request is not acted on
  delay,       ///< the answer, and what is asked after it, waits VALUE milliseconds
  error,       ///< code VALUE and the request, which is not acted on
  bad_crc,     ///< the answer's frame has a wrong CRC
  split,       ///< the answer's frame comes in pieces of VALUE bytes or one byte
  truncate,    ///< only the first VALUE bytes of the answer, in a good frame
  log,         ///< VALUE log packets or one, not requested, come before the answer
  disconnect,  ///< the connection is closed, the request is not acted on
};

struct fault_rule : rule<fault_action> {
  using rule::rule;

  std::vector<std::uint8_t> bytes;
};

constexpr std::string_view fault_target = "diag";

/// Throws `usage_error`, which names the rule and the form expected.
[[nodiscard]] fault_rule parse_fault_rule(std::string_view text);

class faults {
 public:
  explicit faults(const std::vector<fault_rule>& rules) {
    for (const fault_rule& each : rules) rules_.add(each);
  }

  /// Counts a request; the rule that strikes it, or null.
  [[nodiscard]] const fault_rule* strike(protocol::byte_view request);

 private:
  counted_rules<fault_rule> rules_;
};

}  // namespace sim::diag
