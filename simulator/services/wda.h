// WDA, the standard service of the data port: the format in which packets would pass there.
#pragma once

#include "simulator/service.h"

namespace sim {

[[nodiscard]] std::span<const message_row> wda_messages();

}  // namespace sim
