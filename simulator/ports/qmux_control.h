// CTL, service 0 of QMUX: lists the services, and allocates and releases client ids.
#pragma once

#include <cstdint>
#include <vector>

#include "protocol/qmux.h"
#include "simulator/ports/qmux_clients.h"

namespace sim {

class qmux_port;

/// The name of a CTL message; null if it is unknown.
[[nodiscard]] const char* control_message_name(protocol::qmux::control_id id);

/// The TLVs of the answer to a request from this connection.
[[nodiscard]] std::vector<std::uint8_t> answer_control(
    qmux_port& port, connection_number from, const protocol::qmux::control_message& asked);

}  // namespace sim
