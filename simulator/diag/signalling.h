// Which RRC and NAS messages the modem logs, and when: those of an attach, of the connections after
// it, and of a handover and a release in each.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/modem/radio.h"

namespace sim::diag {

struct signalling_log {
  std::uint16_t code;
  std::vector<std::uint8_t> payload;
};

/// Follows the RRC state step by step. The first connection that is seen from its beginning is an
/// attach, until the radio is turned off.
class signalling {
 public:
  /// The logs at `at`, which must be a multiple of 100 ms, as `seen` then.
  [[nodiscard]] std::vector<signalling_log> logs_at(std::chrono::milliseconds at,
                                                    const radio_values& seen);

 private:
  std::optional<lte_rrc_state> state_;
  std::optional<std::chrono::milliseconds> since_;  // when a change to it was seen
  bool began_ = false;                              // this connection was seen from its beginning
  bool attached_ = false;
};

}  // namespace sim::diag
