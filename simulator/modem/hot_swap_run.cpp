#include "simulator/modem/hot_swap_run.h"

#include <fmt/core.h>

#include "simulator/failure.h"
#include "simulator/standard_streams.h"

namespace sim {
namespace {

constexpr unsigned slot = 0;

}  // namespace

void hot_swap_run::start(const hot_swap_plan& plan) {
  stop();
  if (plan.count == 0) return;
  left_ = plan;
  pull();
  running_ = true;
}

void hot_swap_run::stop() {
  ++runs_;
  timer_.cancel();
  if (!running_) return;
  cards_.set_tray(slot, true);
  running_ = false;
}

void hot_swap_run::pull() {
  cards_.set_tray(slot, false);
  wait(left_.after_pull, &hot_swap_run::push);
}

void hot_swap_run::push() {
  cards_.set_tray(slot, true);
  if (--left_.count == 0) {
    running_ = false;
    return;
  }
  wait(left_.after_push, &hot_swap_run::pull);
}

void hot_swap_run::wait(std::chrono::seconds time, void (hot_swap_run::*next)()) {
  timer_.expires_after(time);
  // A timer that has fired already cannot be cancelled; its run's number tells.
  timer_.async_wait([this, next, run = runs_](const std::error_code& cancelled) {
    if (cancelled || run != runs_) return;
    try {
      (this->*next)();
    } catch (const failure& error) {
      running_ = false;
      tell_user(fmt::format("the hot-swap run ends: {}", error.what()));
    }
  });
}

}  // namespace sim
