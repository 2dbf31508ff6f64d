#include "simulator/ports/modem_connection.h"

#include <utility>
#include <vector>

#include "protocol/modem_socket.h"
#include "simulator/ports/modem_socket.h"

namespace sim {

namespace wire = protocol::modem_socket;

// Receives one byte more than the longest packet, so that a longer one is noticed.
modem_connection::modem_connection(modem_socket_port& owner, std::uint32_t client_port,
                                   peer_stream socket)
    : connection(std::move(socket), boundaries::packets, wire::max_packet_size + 1,
                 usual_most_waiting),
      owner_(owner),
      client_port_(client_port) {}

void modem_connection::send(protocol::qrtr::address from, protocol::byte_view datagram) {
  const auto address = wire::build_address(from);
  std::vector<std::uint8_t> packet;
  packet.reserve(address.size() + datagram.size());
  packet.insert(packet.end(), address.begin(), address.end());
  packet.insert(packet.end(), datagram.begin(), datagram.end());
  connection::send(packet);
}

void modem_connection::received(protocol::byte_view packet) {
  if (packet.size() < wire::address_size) return close("it sent a packet that is too short");
  owner_.receive(client_port_, packet);
  if (!is_closed()) receive();
}

void modem_connection::left(std::string_view reason) {
  owner_.remove(client_port_, reason);
}

}  // namespace sim
