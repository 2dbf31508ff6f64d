#include "simulator/ports/modem_socket.h"

#include <sys/socket.h>

#include <utility>

#include "protocol/modem_socket.h"
#include "simulator/ports/modem_connection.h"

namespace sim {
namespace {

// The start of the range from which the kernel assigns client ports.
constexpr std::uint32_t first_client_port = 0x4000;

}  // namespace

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
  const std::uint32_t client_port = next_port_++;
  const auto connection = std::make_shared<modem_connection>(*this, client_port, std::move(socket));
  connections_.emplace(client_port, connection);
  trace_.client_connects(client_at(client_port));
  connection->start();
}

void modem_socket_port::send(protocol::qrtr::address to, protocol::qrtr::address from,
                             protocol::byte_view datagram) {
  const auto found = connections_.find(to.port);
  if (found != connections_.end()) found->second->send(from, datagram);
}

void modem_socket_port::receive(std::uint32_t client_port, protocol::byte_view packet) {
  dispatcher_->receive(client_at(client_port), protocol::modem_socket::parse_address(packet),
                       packet.subspan(protocol::modem_socket::address_size));
}

void modem_socket_port::remove(std::uint32_t client_port, std::string_view reason) {
  connections_.erase(client_port);
  trace_.client_leaves(client_at(client_port), reason);
  dispatcher_->client_gone(client_at(client_port));
}

client modem_socket_port::client_at(std::uint32_t client_port) {
  return {this, {protocol::modem_socket::local_node, client_port}};
}

}  // namespace sim
