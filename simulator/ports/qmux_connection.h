// One connection of a QMUX port: a socket's, which ends with its client, or the terminal, which
// stays.
#pragma once

#include <string_view>

#include "protocol/qmux.h"
#include "simulator/ports/connection.h"
#include "simulator/ports/qmux_clients.h"
#include "simulator/ports/shared_terminal.h"

namespace sim {

class qmux_port;

class qmux_connection : public connection {
 public:
  qmux_connection(qmux_port& owner, connection_number number, peer_stream socket);
  /// The terminal must outlive the connection.
  qmux_connection(qmux_port& owner, connection_number number, peer_stream ours,
                  shared_terminal& terminal);

  using connection::send;

  /// What came of a frame and what was not read belong to a client that has gone.
  void forget_client();

 private:
  void received(protocol::byte_view bytes) override;
  void left(std::string_view reason) override;

  qmux_port& owner_;
  const connection_number number_;
  shared_terminal* const terminal_ = nullptr;
  protocol::qmux::frame_cutter frames_;
};

}  // namespace sim
