// The modem's time in the hands of its user: SIGUSR1 carries the milliseconds to let pass, and a
// line on standard error confirms each with the time that has passed in all.
#pragma once

#include <chrono>

#include <asio/io_context.hpp>

#include "simulator/clock.h"
#include "simulator/program/signals.h"

namespace sim {

class held_time {
 public:
  /// Holds the time. To be made before anything reads it.
  explicit held_time(asio::io_context& io);

 private:
  void pass(std::chrono::milliseconds time);

  std::chrono::milliseconds passed_{0};
  timer wake_;
  signals signals_;
};

}  // namespace sim
