// Timeouts for poll.
#pragma once

#include <chrono>

namespace host {

/// poll's timeout for a deadline; -1 if the deadline is time_point::max(). Rounded up, so that a
/// wait never ends early, and capped, so that a distant deadline takes several waits.
[[nodiscard]] int poll_timeout(std::chrono::steady_clock::time_point deadline);

}  // namespace host
