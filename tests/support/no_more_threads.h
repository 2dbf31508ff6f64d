// A process that the host gives no more threads, as at a process limit, which the superuser does
// not meet.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <stdexcept>

namespace support {

/// From now on, in this whole process: the stack of a new thread does not fit into memory.
inline void no_more_threads() {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  if (pthread_attr_setstacksize(&attributes, std::size_t{1} << 47) != 0 ||
      pthread_setattr_default_np(&attributes) != 0) {
    throw std::runtime_error("cannot set the size of stacks");
  }
  pthread_attr_destroy(&attributes);
}

}  // namespace support
