// Limits that a test sets for its own process and for the programs that it starts.
#pragma once

#include <linux/capability.h>
#include <pthread.h>
#include <sys/prctl.h>

#include "support/test.h"

namespace support {

/// File permissions hold for the programs that are started, even when the superuser runs the test.
inline void start_programs_without_superuser_rights() {
  ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
  ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
}

/// The host gives no more threads, as at a process limit, which the superuser does not meet: the
/// stack of a new thread does not fit into memory.
inline void no_more_threads() {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{1} << 47), 0);
  ASSERT_EQ(pthread_setattr_default_np(&attributes), 0);
  pthread_attr_destroy(&attributes);
}

}  // namespace support
