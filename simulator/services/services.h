// Every service that the modem has.
#pragma once

#include <span>

#include "simulator/service.h"

namespace sim {

[[nodiscard]] std::span<const service_row> all_services();

}  // namespace sim
