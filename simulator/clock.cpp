#include "simulator/clock.h"

#include <optional>

namespace sim {
namespace {

std::optional<clock::time_point> g_held;

clock::time_point host_time() {
  return clock::time_point(std::chrono::steady_clock::now().time_since_epoch());
}

}  // namespace

clock::time_point clock::now() {
  return g_held ? *g_held : host_time();
}

void clock::hold() {
  g_held = host_time();
}

void clock::pass(duration time) {
  *g_held += time;
}

}  // namespace sim
