// What a live session changes in the masks of a port, and how it takes that back.
#pragma once

#include <map>
#include <optional>

#include "decode/filter.h"
#include "decode/live/mask_requests.h"

namespace decode {

/// Whoever carries requests to the port.
class mask_port {
 public:
  mask_port(const mask_port&) = delete;
  mask_port& operator=(const mask_port&) = delete;
  virtual ~mask_port() = default;

  /// Nothing when no answer came in time.
  [[nodiscard]] virtual std::optional<diag_packet> ask(const diag_packet& request) = 0;
  /// Nothing more is to be asked for: the port is gone, or the session ends.
  [[nodiscard]] virtual bool is_over() const = 0;

 protected:
  mask_port() = default;
};

class mask_changes {
 public:
  mask_changes(const filter& wanted, mask_port& port) : wanted_(wanted), port_(port) {}

  /// Asks for the logs and events that are wanted, beside those that are on. Again when a port that
  /// was lost is back: it may have kept what was asked for before.
  void make();

  /// Sets the masks as they were. Whether events were reported before cannot be asked: they are off
  /// afterwards. What the port does not confirm is told.
  void take_back();

 private:
  struct change {
    bit_mask before;  // without what this session asked for
    bit_mask added;

    /// From the mask in force, and what is wanted; returns the mask to set.
    [[nodiscard]] bit_mask add(const bit_mask& in_force, const bit_mask& wanted);
  };

  void make_logs();
  void make_events();

  const filter& wanted_;
  mask_port& port_;
  std::map<unsigned, change> logs_;  // by equipment
  std::optional<change> events_;
};

}  // namespace decode
