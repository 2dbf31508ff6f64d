// A thread of the library. It is detached: a handle that a program never releases, as it may,
// leaves nothing behind when its thread ends.
#pragma once

#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <thread>

namespace platform {

class library_thread {
 public:
  /// False, and reported on standard error, when the host has no thread to give: the body is not
  /// run. What the body holds is let go before the thread counts as ended.
  [[nodiscard]] bool start(std::function<void()> body);

  /// Returns when the body has ended; at once when there was none. Called by the body itself it
  /// returns at once: an object may be released in its own callback.
  void wait() const;

  [[nodiscard]] bool is_current() const;

 private:
  struct state {
    std::latch ended{1};
    std::atomic<std::thread::id> id;  ///< set by the thread, before the body
  };

  std::shared_ptr<state> state_;
};

}  // namespace platform
