#include "simulator/ports/modem_socket.h"

#include <sys/socket.h>

#include <utility>
#include <vector>

#include "protocol/modem_socket.h"

namespace sim {

namespace wire = protocol::modem_socket;

namespace {

// The start of the range from which the kernel assigns client ports.
constexpr std::uint32_t first_client_port = 0x4000;

}  // namespace

class modem_socket_port::client_connection : public connection {
 public:
  // Receives one byte more than the longest packet, so that a longer one is noticed.
  client_connection(dispatcher& receiver, const client& known_as, peer_stream socket,
                    left_handler left)
      : connection(std::move(socket), boundaries::packets, wire::max_packet_size + 1,
                   usual_most_waiting, std::move(left)),
        dispatcher_(receiver),
        client_(known_as) {}

  void send(protocol::qrtr::address from, protocol::byte_view datagram) {
    const auto address = wire::build_address(from);
    std::vector<std::uint8_t> packet;
    packet.reserve(address.size() + datagram.size());
    packet.insert(packet.end(), address.begin(), address.end());
    packet.insert(packet.end(), datagram.begin(), datagram.end());
    connection::send(packet);
  }

 private:
  void received(protocol::byte_view packet) override {
    if (packet.size() < wire::address_size) return close("it sent a packet that is too short");
    dispatcher_.receive(client_, wire::parse_address(packet), packet.subspan(wire::address_size));
    if (!is_closed()) receive();
  }

  dispatcher& dispatcher_;
  const client client_;
};

modem_socket_port::modem_socket_port(asio::io_context& io, const std::string& path, trace& trace)
    : path_(path, SOCK_SEQPACKET),
      listener_(io, path_.take_socket()),
      trace_(trace),
      next_port_(first_client_port) {}

modem_socket_port::~modem_socket_port() = default;

void modem_socket_port::start(dispatcher& dispatcher) {
  dispatcher_ = &dispatcher;
  listener_.start([this](peer_stream socket) { accepted(std::move(socket)); });
}

void modem_socket_port::accepted(peer_stream socket) {
  while (connections_.contains(next_port_)) ++next_port_;
  const client added{this, {wire::local_node, next_port_++}};
  const auto connection = std::make_shared<client_connection>(
      *dispatcher_, added, std::move(socket), [this, added](std::string_view reason) {
        connections_.erase(added.at.port);
        trace_.client_leaves(added, reason);
        dispatcher_->client_gone(added);
      });
  connections_.emplace(added.at.port, connection);
  trace_.client_connects(added);
  connection->start();
}

void modem_socket_port::send(protocol::qrtr::address to, protocol::qrtr::address from,
                             protocol::byte_view datagram) {
  const auto found = connections_.find(to.port);
  if (found != connections_.end()) found->second->send(from, datagram);
}

}  // namespace sim
