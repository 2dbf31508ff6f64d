// What NAS tells of its own accord when something has changed.
#pragma once

#include "simulator/modem/modem.h"
#include "simulator/service.h"

namespace sim {

/// Adds serving system and system information, for the clients that have asked for them.
void indicate_network(modem& state, reply& out);

}  // namespace sim
