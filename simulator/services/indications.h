// Indications that services send when something has changed, to the clients that asked for them;
// some follow from requests to other services.
#pragma once

#include "simulator/modem/modem.h"
#include "simulator/service.h"

namespace sim {

/// NAS: serving system and system information.
void indicate_network(modem& state, reply& out);

/// UIM: card and slot status.
void indicate_cards(modem& state, reply& out);

}  // namespace sim
