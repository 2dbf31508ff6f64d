// The wait for a response: whether a request is waiting, for how long, and the semaphore that ends
// the wait.
//
// The semaphore is created with each connection and destroyed with it, so that a late watcher or
// response of an earlier connection cannot end a wait on the present one.
#pragma once

#include <semaphore.h>

#include <chrono>
#include <cstdint>

#include "platform/mutex.h"

namespace norvel_diag {

constexpr std::chrono::milliseconds tick{100};
constexpr int default_ticks = 30;

class response_wait {
 public:
  /// Creates and destroys the semaphore, along with the connection. No thread may be waiting in
  /// close().
  void open();
  void close();

  /// A request starts to wait, for this many ticks.
  void begin(int ticks);
  /// Returns after a post; at once when there is no semaphore.
  void wait();
  /// Ends the request's wait. Returns whether the watcher gave up, and clears that state.
  [[nodiscard]] bool end();

  void post();

  // For the watcher: the number of the connection that it watches. The functions that take the
  // number have no effect once another connection is open.
  [[nodiscard]] std::uint64_t connection();
  [[nodiscard]] bool still_waiting(std::uint64_t connection, int ticks);
  void post(std::uint64_t connection);
  /// True when the request is still waiting after its full number of ticks. The request then fails
  /// even if a response arrives; the next post wakes it.
  [[nodiscard]] bool gives_up(std::uint64_t connection, int ticks);

 private:
  void post_locked() TVK_REQUIRES(lock_);
  [[nodiscard]] bool waits(std::uint64_t connection) const TVK_REQUIRES(lock_);

  platform::mutex lock_;
  sem_t semaphore_{};  // waited on without the lock
  bool is_open_ TVK_GUARDED_BY(lock_) = false;
  std::uint64_t connection_ TVK_GUARDED_BY(lock_) = 0;
  bool waiting_ TVK_GUARDED_BY(lock_) = false;
  int wait_ticks_ TVK_GUARDED_BY(lock_) = default_ticks;
  bool timed_out_ TVK_GUARDED_BY(lock_) = false;
};

/// Never destroyed: threads of the library and of our own may outlive main.
extern response_wait& g_diag_wait;

}  // namespace norvel_diag
