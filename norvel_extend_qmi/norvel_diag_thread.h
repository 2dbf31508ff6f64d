// The threads of the DIAG channel.
#pragma once

#include <condition_variable>

#include "platform/mutex.h"

namespace norvel_diag {

/// Starts a detached thread named "KEMO DIAG"; returns pthread_create's result.
int start_thread(void* (*body)(void*), void* argument);

/// Counts the detached threads that are running, so that they can be waited for.
class thread_count {
 public:
  void add() {
    const platform::mutex_lock hold(lock_);
    ++count_;
  }
  void remove() {
    const platform::mutex_lock hold(lock_);
    --count_;
    changed_.notify_all();
  }
  void wait_for_none() {
    const platform::mutex_lock hold(lock_);
    while (count_ != 0) changed_.wait(lock_);
  }

 private:
  platform::mutex lock_;
  std::condition_variable_any changed_;
  int count_ TVK_GUARDED_BY(lock_) = 0;
};

}  // namespace norvel_diag
