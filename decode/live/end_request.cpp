#include "decode/live/end_request.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <system_error>

#include "decode/output/file_output.h"

namespace decode {

namespace {

using namespace std::chrono_literals;

/// A signal that arrives just before a wait does not interrupt it, but the next tick does.
constexpr auto tick = 20ms;
/// Time that a slow reader gets to accept the rest of the output.
constexpr auto write_grace = 400ms;

std::atomic<bool> requested = false;
std::atomic<int> ticks = 0;
timer_t ticker;
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

void on_end_signal(int /*signal*/) {
  const int before = errno;
  constexpr timespec interval{0, std::chrono::nanoseconds(tick).count()};
  constexpr itimerspec forever{.it_interval = interval, .it_value = interval};
  if (!requested.exchange(true)) ::timer_settime(ticker, 0, &forever, nullptr);
  errno = before;
}

void on_tick(int /*signal*/) {
  if (ticks < write_grace / tick) ++ticks;
}

bool grace_is_over() {
  return ticks >= write_grace / tick;
}

void handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigfillset(&action.sa_mask);
  // No SA_RESTART: blocking system calls must be interrupted.
  ::sigaction(signal, &action, nullptr);
}

bool is_ignored(int signal) {
  struct sigaction action {};
  ::sigaction(signal, nullptr, &action);
  return action.sa_handler == SIG_IGN;
}

}  // namespace

void listen_for_end_request() {
  handle(SIGALRM, on_tick);
  sigevent event{};
  event.sigev_notify = SIGEV_SIGNAL;
  event.sigev_signo = SIGALRM;
  if (::timer_create(CLOCK_MONOTONIC, &event, &ticker) != 0) {
    throw std::system_error(errno, std::generic_category(), "timer");
  }
  give_up_interrupted_writes(grace_is_over);
  handle(SIGPIPE, SIG_IGN);
  handle(SIGINT, on_end_signal);
  handle(SIGTERM, on_end_signal);
  if (!is_ignored(SIGHUP)) handle(SIGHUP, on_end_signal);
}

bool end_was_requested() {
  return requested;
}

}  // namespace decode
