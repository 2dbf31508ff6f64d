// Waiting with poll.
#pragma once

#include <chrono>

namespace host {

/// The timeout of a wait that ends at a deadline: -1 for ever, else rounded up, so that no wait
/// ends early; a distant one may take several waits.
[[nodiscard]] int poll_timeout(std::chrono::steady_clock::time_point deadline);

}  // namespace host
