#include "support/pauses.h"

#include <mutex>
#include <utility>

#include "qcril-common/utilities/pause.h"

namespace {

/// Never destroyed: detached threads wait until the end.
struct clock_of_the_test {
  std::mutex lock;
  std::vector<std::chrono::milliseconds> pauses;
  std::function<void()> meanwhile;
};
clock_of_the_test& time_now = *new clock_of_the_test;

}  // namespace

void pause_for(std::chrono::milliseconds time) {
  std::unique_lock hold(time_now.lock);
  time_now.pauses.push_back(time);
  const auto meanwhile = time_now.meanwhile;
  hold.unlock();
  if (meanwhile) meanwhile();
}

std::vector<std::chrono::milliseconds> support::take_pauses() {
  const std::lock_guard hold(time_now.lock);
  return std::exchange(time_now.pauses, {});
}

void support::during_pauses(std::function<void()> action) {
  const std::lock_guard hold(time_now.lock);
  time_now.meanwhile = std::move(action);
}
