#include "simulator/ports/qmux_port.h"

#include <fmt/core.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "host/unix_address.h"
#include "protocol/modem_socket.h"
#include "simulator/failure.h"
#include "simulator/ports/qmux_connection.h"
#include "simulator/ports/qmux_control.h"

namespace sim {

namespace qmux = protocol::qmux;

host::file_descriptor bind_proxy_socket() {
  constexpr std::string_view name = "qmi-proxy";
  const auto address = host::unix_address::of_abstract_name(name);
  host::file_descriptor bound(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!bound.valid() || ::bind(bound.get(), address.get(), address.size()) != 0) {
    throw failure(
        fmt::format("cannot bind the abstract socket {}: {}", name,
                    errno == EADDRINUSE ? "another program listens on it" : std::strerror(errno)));
  }
  return bound;
}

qmux_port::qmux_port(asio::io_context& io, host::file_descriptor bound, const node& node,
                     dispatcher& dispatcher, trace& trace)
    : node_(node), dispatcher_(dispatcher), trace_(trace), listener_(io, std::move(bound)) {
  listener_.start([this](peer_stream socket) { accepted(std::move(socket)); });
}

qmux_port::~qmux_port() = default;

void qmux_port::accepted(peer_stream socket) {
  const connection_number number = next_connection_++;
  const auto connection = std::make_shared<qmux_connection>(*this, number, std::move(socket));
  connections_.emplace(number, connection);
  trace_.note(fmt::format("QMUX connection {} opens", number));
  connection->start();
}

void qmux_port::send(protocol::qrtr::address to, protocol::qrtr::address /*from*/,
                     protocol::byte_view datagram) {
  const qmux_client* const known = clients_.find(to.port);
  if (known == nullptr) return;
  write(known->connection, {static_cast<std::uint8_t>(known->service->id), known->id, datagram});
}

void qmux_port::receive(connection_number from, const qmux::frame& frame) {
  if (frame.service == qmux::control_service) return control(from, frame.message);
  const auto client_port = clients_.port_of(from, frame.service, frame.client);
  if (!client_port) {
    return trace_.note(fmt::format("QMUX connection {} has no client {} of service 0x{:02x}", from,
                                   frame.client, frame.service));
  }
  dispatcher_.receive(client_at(*client_port),
                      node_.address_of(*clients_.find(*client_port)->service), frame.message);
}

void qmux_port::control(connection_number from, protocol::byte_view message) {
  const auto asked = qmux::parse_control(message);
  if (!asked || asked->kind != qmux::control_kind::request) {
    return trace_.note(fmt::format("QMUX connection {} sent no CTL request", from));
  }
  const char* const name = control_message_name(asked->id);
  trace_.note(fmt::format("QMUX connection {} -> CTL message 0x{:04x} {}, transaction {}", from,
                          static_cast<unsigned>(asked->id), name == nullptr ? "?" : name,
                          asked->transaction));
  const auto tlvs = answer_control(*this, from, *asked);
  const auto answer =
      qmux::build_control({qmux::control_kind::response, asked->transaction, asked->id, tlvs});
  write(from, {qmux::control_service, 0, answer});
}

void qmux_port::write(connection_number to, const qmux::frame& frame) {
  const auto found = connections_.find(to);
  if (found == connections_.end()) return;
  if (frame.message.size() > qmux::longest_message) {
    return trace_.note(
        fmt::format("dropped, {} bytes are too long for QMUX", frame.message.size()));
  }
  found->second->send(qmux::build_frame(qmux::sender::modem, frame));
}

void qmux_port::remove(connection_number gone, std::string_view reason) {
  connections_.erase(gone);
  release_all(gone);
  trace_.note(fmt::format("QMUX connection {} ends: {}", gone, reason));
}

const service_row* qmux_port::find_service(std::uint8_t id) const {
  const auto found = std::ranges::find(node_.services(), id, &service_row::id);
  return found != node_.services().end() && node_.is_up(*found) ? &*found : nullptr;
}

std::optional<std::uint8_t> qmux_port::allocate(connection_number connection,
                                                const service_row& service) {
  const auto client_port = clients_.add(connection, service);
  if (!client_port) return std::nullopt;
  trace_.client_connects(client_at(*client_port));
  return clients_.find(*client_port)->id;
}

bool qmux_port::release(connection_number connection, std::uint8_t service, std::uint8_t id) {
  const auto client_port = clients_.port_of(connection, service, id);
  if (client_port) release(*client_port);
  return client_port.has_value();
}

void qmux_port::release_all(connection_number connection) {
  for (const std::uint32_t client_port : clients_.ports_of(connection)) release(client_port);
}

void qmux_port::release(std::uint32_t client_port) {
  const client gone = client_at(client_port);
  clients_.remove(client_port);
  trace_.client_leaves(gone, "released");
  dispatcher_.client_gone(gone);
}

client qmux_port::client_at(std::uint32_t client_port) {
  return {this, {protocol::modem_socket::local_node, client_port}};
}

}  // namespace sim
