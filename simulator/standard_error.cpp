#include "simulator/standard_error.h"

#include <cstdio>

namespace sim {

void tell_user(std::string_view message) noexcept {
  std::fprintf(stderr, "tvk-modem: %.*s\n", static_cast<int>(message.size()), message.data());
}

}  // namespace sim
