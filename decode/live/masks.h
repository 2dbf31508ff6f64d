// The changes that a live session makes to a port's masks, and how it undoes them.
#pragma once

#include <map>
#include <optional>

#include "decode/filter.h"
#include "decode/live/mask_requests.h"

namespace decode {

/// Sends requests to the port.
class mask_port {
 public:
  mask_port(const mask_port&) = delete;
  mask_port& operator=(const mask_port&) = delete;
  virtual ~mask_port() = default;

  /// No value when no answer arrived in time.
  [[nodiscard]] virtual std::optional<diag_packet> ask(const diag_packet& request) = 0;
  /// True when no further logs or events should be requested: the port is lost or the session ends.
  [[nodiscard]] virtual bool is_over() const = 0;

 protected:
  mask_port() = default;
};

class mask_changes {
 public:
  mask_changes(const filter& wanted, mask_port& port) : wanted_(wanted), port_(port) {}

  /// Turns on the wanted logs and events in addition to those that are already on. To be repeated
  /// after a lost port is back; if it kept the session's masks, those do not count as its own.
  void apply();

  /// Restores the masks. Event reporting is turned off, because the port cannot be asked whether it
  /// was on before. Reports if the port does not confirm.
  void restore();

 private:
  struct change {
    bit_mask before;  // without the bits that this session added
    bit_mask added;

    /// Takes the current mask and the wanted bits; returns the mask to set.
    [[nodiscard]] bit_mask add(const bit_mask& in_force, const bit_mask& wanted);
  };

  void apply_logs();
  void apply_events();

  const filter& wanted_;
  mask_port& port_;
  std::map<unsigned, change> logs_;  // by equipment
  std::optional<change> events_;
};

}  // namespace decode
