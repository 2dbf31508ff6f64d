#include "simulator/ports/qrtr.h"

#include <fmt/core.h>
#include <linux/qrtr.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

#include <asio/buffer.hpp>

#include "host/file_descriptor.h"
#include "simulator/failure.h"
#include "simulator/standard_error.h"

namespace sim {
namespace {

using socket_type = asio::generic::datagram_protocol::socket;
using endpoint = asio::generic::datagram_protocol::endpoint;

constexpr std::size_t max_datagram = 65535;

endpoint endpoint_of(protocol::qrtr::address at) {
  sockaddr_qrtr address{};
  address.sq_family = AF_QIPCRTR;
  address.sq_node = at.node;
  address.sq_port = at.port;
  return {&address, sizeof(address)};
}

protocol::qrtr::address address_of(const endpoint& from) {
  sockaddr_qrtr address{};
  std::memcpy(&address, from.data(), sizeof(address));
  return {address.sq_node, address.sq_port};
}

socket_type open_socket(asio::io_context& io) {
  host::file_descriptor made(::socket(AF_QIPCRTR, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!made.valid()) fail_to("listen on", "AF_QIPCRTR");
  return {io, asio::generic::datagram_protocol(AF_QIPCRTR, 0), made.release()};
}

/// Not asio's own send: it sets MSG_NOSIGNAL, and the socket family accepts only MSG_DONTWAIT.
bool send_to(socket_type& from, const endpoint& to, protocol::byte_view datagram) {
  return ::sendto(from.native_handle(), datagram.data(), datagram.size(), MSG_DONTWAIT, to.data(),
                  static_cast<socklen_t>(to.size())) >= 0;
}

}  // namespace

struct qrtr_port::service_socket {
  service_socket(protocol::qrtr::address known_by, socket_type opened)
      : service(known_by),
        socket(std::move(opened)),
        // Before the socket has a port, the kernel reports only its own node.
        name_service(
            endpoint_of({address_of(socket.local_endpoint()).node, protocol::qrtr::control_port})) {
  }

  protocol::qrtr::address service;  ///< its address in the modem
  socket_type socket;
  endpoint name_service;
  endpoint sender{};
  std::array<std::uint8_t, max_datagram> buffer{};
};

qrtr_port::qrtr_port(asio::io_context& io, node& node, dispatcher& dispatcher, trace& trace)
    : io_(io), clients_(*this, dispatcher, trace) {
  // Fails here rather than later, when a service that is down at the start comes up.
  (void)open_socket(io);
  node.attach(*this);
}

qrtr_port::~qrtr_port() = default;

void qrtr_port::send(protocol::qrtr::address to, protocol::qrtr::address from,
                     protocol::byte_view datagram) {
  // Dropped if it cannot be sent, as a network drops datagrams for a full peer.
  (void)send_to(socket_of(from).socket, endpoint_of(to), datagram);
}

void qrtr_port::announce(protocol::qrtr::command change, const protocol::qrtr::server& server) {
  service_socket& from = socket_of(server.at);
  const auto packet = protocol::qrtr::build_control({change, server});
  if (!send_to(from.socket, from.name_service, packet)) {
    tell_user(fmt::format("cannot publish on AF_QIPCRTR: {}", std::strerror(errno)));
  }
}

qrtr_port::service_socket& qrtr_port::socket_of(protocol::qrtr::address service) {
  auto& found = sockets_[service.port];
  if (!found) {
    auto socket = open_socket(io_);
    socket.non_blocking(true);
    found = std::make_unique<service_socket>(service, std::move(socket));
    receive(*found);
  }
  return *found;
}

void qrtr_port::receive(service_socket& socket) {
  socket.socket.async_receive_from(asio::buffer(socket.buffer), socket.sender,
                                   [this, &socket](const std::error_code& error, std::size_t size) {
                                     if (error == asio::error::operation_aborted) return;
                                     if (!error) received(socket, size);
                                     receive(socket);
                                   });
}

void qrtr_port::received(const service_socket& socket, std::size_t size) {
  const protocol::qrtr::address from = address_of(socket.sender);
  const auto datagram = protocol::byte_view(socket.buffer).first(size);
  if (from.port == protocol::qrtr::control_port) return clients_.receive_control(datagram);
  clients_.receive_data(from, socket.service, datagram);
}

}  // namespace sim
