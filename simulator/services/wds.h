// WDS, the standard service of packet data: a call for each client, and the profiles of calls. No
// packets are carried.
#pragma once

#include "simulator/service.h"

namespace sim {

[[nodiscard]] std::span<const message_row> wds_messages();

}  // namespace sim
