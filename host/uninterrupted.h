#pragma once

#include <cerrno>

namespace host {

/// Makes a system call again for as long as a signal interrupts it; what it returned last.
template <typename Call>
auto uninterrupted(Call call) {
  while (true) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

}  // namespace host
