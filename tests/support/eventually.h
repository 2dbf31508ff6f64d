// Waiting for what another thread or process does without a signal.
#pragma once

#include <chrono>
#include <thread>

namespace support {

/// Whether the condition holds before half a minute is over.
template <typename Condition>
[[nodiscard]] bool eventually(Condition condition) {
  using clock = std::chrono::steady_clock;
  for (const auto end = clock::now() + std::chrono::seconds(30); clock::now() < end;) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return condition();
}

}  // namespace support
