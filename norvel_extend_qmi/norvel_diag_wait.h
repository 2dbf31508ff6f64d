// The wait for a response: who waits for how long, and the semaphore that ends it.
//
// A late watcher or response of one connection says nothing to the next: what it would post is gone
// with its connection.
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
  /// Creates and destroys the semaphore, with the connection. Nobody waits while it is destroyed.
  void open();
  void close();

  /// A request begins to wait, for so many ticks.
  void begin(int ticks);
  /// Returns when something is posted; at once without a semaphore.
  void wait();
  /// The request waits no longer. Whether the watcher gave up; it is forgotten.
  [[nodiscard]] bool end();

  void post();

  /// For the watcher: the connection it watches, and what it may do to no other.
  [[nodiscard]] std::uint64_t connection();
  [[nodiscard]] bool goes_on(std::uint64_t connection, int ticks);
  void post(std::uint64_t connection);
  /// Whether the request still waits after so many ticks. It then fails, whatever comes, and is
  /// woken by the next post.
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
