// One connection of the modem socket.
#pragma once

#include <cstdint>
#include <string_view>

#include "protocol/qrtr.h"
#include "simulator/ports/connection.h"

namespace sim {

class modem_socket_port;

class modem_connection : public connection {
 public:
  modem_connection(modem_socket_port& owner, std::uint32_t client_port, peer_stream socket);

  void send(protocol::qrtr::address from, protocol::byte_view datagram);

 private:
  void received(protocol::byte_view packet) override;
  void left(std::string_view reason) override;

  modem_socket_port& owner_;
  const std::uint32_t client_port_;
};

}  // namespace sim
