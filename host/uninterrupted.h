// Retries system calls that signals interrupt.
#pragma once

#include <cerrno>

namespace host {

/// Repeats a system call as long as it fails with EINTR; returns its last result.
template <typename Call>
auto uninterrupted(Call call) {
  while (true) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

}  // namespace host
