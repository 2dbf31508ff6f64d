#include "host/wait.h"

#include <algorithm>

namespace host {

int poll_timeout(std::chrono::steady_clock::time_point deadline) {
  using clock = std::chrono::steady_clock;
  if (deadline == clock::time_point::max()) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - clock::now()).count();
  return static_cast<int>(std::clamp<long long>(left, 0, 1'000'000));
}

}  // namespace host
