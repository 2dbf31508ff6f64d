// DMS, the standard service of the device: what it is, and whether its radio is on.
#pragma once

#include "simulator/service.h"

namespace sim {

[[nodiscard]] std::span<const message_row> dms_messages();

}  // namespace sim
