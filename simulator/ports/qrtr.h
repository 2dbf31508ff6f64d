// The modem's services on the kernel's AF_QIPCRTR: a socket for each, published with the kernel's
// own name service, which also answers the lookups.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include <asio/generic/datagram_protocol.hpp>
#include <asio/io_context.hpp>

#include "simulator/dispatcher.h"
#include "simulator/node.h"
#include "simulator/port.h"
#include "simulator/ports/qrtr_clients.h"

namespace sim {

class qrtr_port : public port {
 public:
  /// Publishes the services that are up. Throws `failure` if the kernel has no such sockets.
  qrtr_port(asio::io_context& io, node& node, dispatcher& dispatcher, trace& trace);
  ~qrtr_port() override;

  void send(protocol::qrtr::address to, protocol::qrtr::address from,
            protocol::byte_view datagram) override;
  void announce(protocol::qrtr::command change, const protocol::qrtr::server& server) override;

 private:
  struct service_socket;

  service_socket& socket_of(protocol::qrtr::address service);
  void receive(service_socket& socket);
  void received(const service_socket& socket, std::size_t size);

  asio::io_context& io_;
  qrtr_clients clients_;
  std::map<std::uint32_t, std::unique_ptr<service_socket>> sockets_;  ///< by the service's port
};

}  // namespace sim
