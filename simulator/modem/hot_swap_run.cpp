#include "simulator/modem/hot_swap_run.h"

#include <fmt/core.h>

#include <exception>
#include <string>

#include "simulator/failure.h"
#include "simulator/standard_error.h"

namespace sim {
namespace {

constexpr unsigned slot = 0;

}  // namespace

hot_swap_run::hot_swap_run(asio::io_context& io, settings& settings, cards& cards)
    : settings_(settings), cards_(cards), timer_(io) {
  stop();
}

hot_swap_run::~hot_swap_run() {
  try {
    stop();
  } catch (const std::exception& error) {
    tell_user(std::string("the hot-swap run leaves the card out: ") + error.what());
  }
}

void hot_swap_run::start(const hot_swap_plan& plan) {
  stop();
  if (plan.count == 0) return;
  left_ = plan;
  settings_.set(setting_of::hot_swap_running, 1);
  pull();
}

void hot_swap_run::stop() {
  ++runs_;
  timer_.cancel();
  if (settings_.get(setting_of::hot_swap_running) != 0) finish();
}

void hot_swap_run::pull() {
  cards_.set_tray(slot, false);
  wait(left_.after_pull, &hot_swap_run::push);
}

void hot_swap_run::push() {
  if (--left_.count == 0) return finish();
  cards_.set_tray(slot, true);
  wait(left_.after_push, &hot_swap_run::pull);
}

void hot_swap_run::finish() {
  cards_.set_tray(slot, true);
  settings_.set(setting_of::hot_swap_running, 0);
}

void hot_swap_run::wait(std::chrono::seconds time, void (hot_swap_run::*next)()) {
  timer_.expires_after(time);
  // A timer that has already fired cannot be cancelled, but its run's number is old.
  timer_.async_wait([this, next, run = runs_](const std::error_code& cancelled) {
    if (cancelled || run != runs_) return;
    try {
      (this->*next)();
    } catch (const failure& error) {
      tell_user(fmt::format("the hot-swap run has stopped: {}", error.what()));
    }
  });
}

}  // namespace sim
