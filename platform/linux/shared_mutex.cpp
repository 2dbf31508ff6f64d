#include "platform/shared_mutex.h"

namespace qtimutex {

void QtiSharedMutex::lock() {
  mutex_.lock();
}
bool QtiSharedMutex::try_lock() {
  return mutex_.try_lock();
}
void QtiSharedMutex::unlock() {
  mutex_.unlock();
}
void QtiSharedMutex::lock_shared() {
  mutex_.lock_shared();
}
bool QtiSharedMutex::try_lock_shared() {
  return mutex_.try_lock_shared();
}
void QtiSharedMutex::unlock_shared() {
  mutex_.unlock_shared();
}

}  // namespace qtimutex
