// The platform's shared mutex: many readers or one writer. A Lockable and a SharedLockable, so the
// standard guards and std::condition_variable_any work with it.
#pragma once

#include <shared_mutex>

namespace qtimutex {

class QtiSharedMutex {
 public:
  QtiSharedMutex() = default;
  QtiSharedMutex(const QtiSharedMutex&) = delete;
  QtiSharedMutex& operator=(const QtiSharedMutex&) = delete;

  void lock();
  bool try_lock();
  void unlock();
  void lock_shared();
  bool try_lock_shared();
  void unlock_shared();

 private:
  std::shared_mutex mutex_;
};

}  // namespace qtimutex
