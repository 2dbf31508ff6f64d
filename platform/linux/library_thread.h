// A thread of the library. It is detached, so that nothing has to join it: a program may never
// release the handle it serves.
#pragma once

#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <thread>

namespace platform {

class library_thread {
 public:
  /// False when the host has no thread to spare; that is reported on standard error and the body
  /// does not run. The body's captures are destroyed before the thread counts as ended.
  [[nodiscard]] bool start(std::function<void()> body);

  /// Returns when the body has ended, or at once if none was started. Also returns at once when
  /// called from the body: an object may be released in its own callback.
  void wait() const;

  [[nodiscard]] bool is_current() const;

 private:
  struct state {
    std::latch ended{1};
    std::atomic<std::thread::id> id;  ///< set by the thread before it runs the body
  };

  std::shared_ptr<state> state_;
};

}  // namespace platform
