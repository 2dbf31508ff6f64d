// The time that the tool waits for, in the hands of a test: a program of tests with pauses.cpp
// among its sources never waits in it.
#pragma once

#include <chrono>
#include <functional>
#include <vector>

namespace support {

/// How long the tool meant to wait, since this was last asked.
[[nodiscard]] std::vector<std::chrono::milliseconds> take_pauses();

/// What happens meanwhile, in the thread that waits; nothing, to begin with.
void during_pauses(std::function<void()> action);

}  // namespace support
