// CTL, the service 0 of QMUX: which services there are, and who is a client of which.
#pragma once

#include <cstdint>
#include <vector>

#include "protocol/qmux.h"
#include "simulator/ports/qmux_clients.h"

namespace sim {

class qmux_port;

/// What a CTL message is called; null for one that is not known.
[[nodiscard]] const char* control_message_name(std::uint16_t message_id);

/// The TLVs of the answer to a request that came on this connection.
[[nodiscard]] std::vector<std::uint8_t> answer_control(
    qmux_port& port, connection_number from, const protocol::qmux::control_message& asked);

}  // namespace sim
