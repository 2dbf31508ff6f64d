#include "simulator/standard_error.h"

#include "host/messages.h"

namespace sim {

void tell_user(std::string_view message) noexcept {
  host::report("tvk-modem", message);
}

}  // namespace sim
