// Every sleep of the DIAG channel.
#pragma once

#include <chrono>

namespace norvel_diag {

/// Linked from a file of its own, so that tests can shorten it.
void sleep_for(std::chrono::milliseconds time);

}  // namespace norvel_diag
