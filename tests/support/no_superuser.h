// File permissions hold for the programs that a test starts, even when the superuser runs the test.
#pragma once

#include <linux/capability.h>
#include <sys/prctl.h>

namespace support {

/// For the rest of the test's process.
inline void start_programs_without_superuser_rights() {
  ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
  ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
}

}  // namespace support
