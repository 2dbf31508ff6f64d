// QMUX on a stream socket, for clients that expect the modem as a character device or behind a
// proxy. Offers every service whose number fits into 8 bits.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>

#include <asio/generic/stream_protocol.hpp>
#include <asio/io_context.hpp>

#include "host/file_descriptor.h"
#include "protocol/qmux.h"
#include "simulator/dispatcher.h"
#include "simulator/node.h"
#include "simulator/port.h"
#include "simulator/ports/connection.h"
#include "simulator/ports/listener.h"
#include "simulator/ports/qmux_clients.h"
#include "simulator/trace.h"

namespace sim {

class qmux_connection;

/// A socket bound to the abstract address at which stock clients look for their proxy. Throws
/// `failure` if another program has the address.
[[nodiscard]] host::file_descriptor bind_proxy_socket();

class qmux_port : public port {
 public:
  /// Starts to accept connections on a bound stream socket.
  qmux_port(asio::io_context& io, host::file_descriptor bound, const node& node,
            dispatcher& dispatcher, trace& trace);
  ~qmux_port() override;

  void send(protocol::qrtr::address to, protocol::qrtr::address from,
            protocol::byte_view datagram) override;

  // For the connections.
  void receive(connection_number from, const protocol::qmux::frame& frame);
  void remove(connection_number gone, std::string_view reason);

  // For CTL.
  [[nodiscard]] const node& services() const { return node_; }
  /// The service if it is up and its number fits, otherwise null.
  [[nodiscard]] const service_row* find_service(std::uint8_t id) const;
  /// The new id; empty when the service has no free id.
  [[nodiscard]] std::optional<std::uint8_t> allocate(connection_number connection,
                                                     const service_row& service);
  /// False when the connection has no such client.
  [[nodiscard]] bool release(connection_number connection, std::uint8_t service, std::uint8_t id);
  void release_all(connection_number connection);

 private:
  using protocol_type = asio::generic::stream_protocol;

  void accepted(peer_stream socket);
  void control(connection_number from, protocol::byte_view message);
  void write(connection_number to, const protocol::qmux::frame& frame);
  void release(std::uint32_t client_port);
  [[nodiscard]] client client_at(std::uint32_t client_port);

  const node& node_;
  dispatcher& dispatcher_;
  trace& trace_;
  std::map<connection_number, std::shared_ptr<qmux_connection>> connections_;
  connection_number next_connection_ = 1;
  qmux_clients clients_;
  listener<protocol_type> listener_;
};

}  // namespace sim
