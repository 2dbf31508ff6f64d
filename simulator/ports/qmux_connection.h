// One connection of a QMUX port.
#pragma once

#include <string_view>

#include "protocol/qmux.h"
#include "simulator/ports/connection.h"
#include "simulator/ports/qmux_clients.h"

namespace sim {

class qmux_port;

class qmux_connection : public connection {
 public:
  qmux_connection(qmux_port& owner, connection_number number, peer_stream socket);

  using connection::send;

 private:
  void received(protocol::byte_view bytes) override;
  void left(std::string_view reason) override;

  qmux_port& owner_;
  const connection_number number_;
  protocol::qmux::frame_cutter frames_;
};

}  // namespace sim
