#include "platform/shared_mutex.h"

namespace qtimutex {

void QtiSharedMutex::lock() {
  mutex_.lock();
}
void QtiSharedMutex::unlock() {
  mutex_.unlock();
}

}  // namespace qtimutex
