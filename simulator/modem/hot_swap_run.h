// Pulls the card of slot 0 and pushes it in again, a number of times, with waits between. A run
// ends with its modem, and its card is in then: a modem that is killed leaves the card out, and the
// next one on the same state puts it in.
#pragma once

#include <chrono>
#include <cstdint>

#include <asio/io_context.hpp>

#include "simulator/clock.h"
#include "simulator/modem/cards.h"
#include "simulator/modem/settings.h"

namespace sim {

struct hot_swap_plan {
  std::chrono::seconds after_push{0};
  std::chrono::seconds after_pull{0};
  std::uint32_t count = 0;
};

class hot_swap_run {
 public:
  /// Throws `failure`.
  hot_swap_run(asio::io_context& io, settings& settings, cards& cards);
  hot_swap_run(const hot_swap_run&) = delete;
  hot_swap_run& operator=(const hot_swap_run&) = delete;
  ~hot_swap_run();

  /// Replaces a run that is under way. Pulls at once; throws `failure` when it cannot.
  void start(const hot_swap_plan& plan);
  /// Ends a run, with the card in. Throws `failure`.
  void stop();

 private:
  void pull();
  void push();
  void finish();
  void wait(std::chrono::seconds time, void (hot_swap_run::*next)());

  settings& settings_;
  cards& cards_;
  timer timer_;
  hot_swap_plan left_;
  std::uint64_t runs_ = 0;
};

}  // namespace sim
