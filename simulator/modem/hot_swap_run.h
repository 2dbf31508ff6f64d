// Pulls the card of slot 0 out and pushes it in again, so many times, with waits between.
#pragma once

#include <chrono>
#include <cstdint>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "simulator/modem/cards.h"

namespace sim {

struct hot_swap_plan {
  std::chrono::seconds after_push{0};
  std::chrono::seconds after_pull{0};
  std::uint32_t count = 0;
};

class hot_swap_run {
 public:
  hot_swap_run(asio::io_context& io, cards& cards) : cards_(cards), timer_(io) {}

  /// In place of a run that is on its way. Pulls at once; throws `failure` when it cannot.
  void start(const hot_swap_plan& plan);
  /// Leaves the card in. Throws `failure`.
  void stop();

 private:
  void pull();
  void push();
  void wait(std::chrono::seconds time, void (hot_swap_run::*next)());

  cards& cards_;
  asio::steady_timer timer_;
  hot_swap_plan left_;
  std::uint64_t runs_ = 0;
  bool running_ = false;
};

}  // namespace sim
