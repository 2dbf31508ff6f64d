// The debug counters of the statistics collector, answered to requests of type 4, kind 20.
#pragma once

#include <cstdint>
#include <span>

#include "simulator/modem/activity.h"

namespace sim {

/// Fills the answer's payload. The result at offset 4 stays 0, success.
void write_statistics(activity& activity, std::span<std::uint8_t> payload);

}  // namespace sim
