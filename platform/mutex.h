// Mutexes that clang's thread-safety analysis can check; other compilers ignore the annotations.
#pragma once

#include <mutex>

#if defined(__clang__)
#define TVK_THREAD_NOTE(x) __attribute__((x))
#else
#define TVK_THREAD_NOTE(x)
#endif

#define TVK_GUARDED_BY(x) TVK_THREAD_NOTE(guarded_by(x))
#define TVK_REQUIRES(...) TVK_THREAD_NOTE(requires_capability(__VA_ARGS__))

namespace platform {

class TVK_THREAD_NOTE(capability("mutex")) mutex {
 public:
  void lock() TVK_THREAD_NOTE(acquire_capability()) { mutex_.lock(); }
  void unlock() TVK_THREAD_NOTE(release_capability()) { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

/// Holds a mutex to the end of the block.
class TVK_THREAD_NOTE(scoped_lockable) mutex_lock {
 public:
  explicit mutex_lock(mutex& held) TVK_THREAD_NOTE(acquire_capability(held)) : held_(held) {
    held_.lock();
  }
  ~mutex_lock() TVK_THREAD_NOTE(release_capability()) { held_.unlock(); }
  mutex_lock(const mutex_lock&) = delete;
  mutex_lock& operator=(const mutex_lock&) = delete;

 private:
  mutex& held_;
};

}  // namespace platform
