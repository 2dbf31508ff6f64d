// The time that the modem lives in. It passes as the host's does. Held, it stands still and goes on
// only as its user lets it, who so decides what comes before what.
#pragma once

#include <chrono>

#include <asio/basic_waitable_timer.hpp>

namespace sim {

/// A clock as the standard library knows them.
struct clock {
  using duration = std::chrono::steady_clock::duration;
  using rep = duration::rep;
  using period = duration::period;
  using time_point = std::chrono::time_point<clock>;
  static constexpr bool is_steady = true;

  static time_point now();

  static void hold();
  /// Held time only. Timers that are due notice at the next timer that is started.
  static void pass(duration time);
};

using timer = asio::basic_waitable_timer<clock>;

}  // namespace sim
