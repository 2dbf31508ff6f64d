// QMUX on a stream socket or a terminal, for clients that expect the modem as a character device or
// behind a proxy. Offers every service whose number fits into 8 bits.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
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
#include "simulator/ports/terminals.h"
#include "simulator/trace.h"

namespace sim {

/// A socket bound to the abstract address at which stock clients look for their proxy. Throws
/// `failure` if another program has the address.
[[nodiscard]] host::file_descriptor bind_proxy_socket();

class qmux_port : public port {
 public:
  qmux_port(asio::io_context& io, const node& node, dispatcher& dispatcher, trace& trace);
  ~qmux_port() override;

  /// Starts to accept connections on a bound stream socket.
  void listen(host::file_descriptor bound);
  /// Starts to serve a terminal. Throws `failure`.
  void open_terminal(const std::string& path);

  void send(protocol::qrtr::address to, protocol::qrtr::address from,
            protocol::byte_view datagram) override;

  // For CTL.
  [[nodiscard]] const node& services() const { return node_; }
  /// The service if it is up and its number fits, otherwise null.
  [[nodiscard]] const service_row* find_service(std::uint8_t id) const;
  /// The new id; empty when the service has no free id.
  [[nodiscard]] std::optional<std::uint8_t> allocate(connection_number connection,
                                                     const service_row& service);
  /// False when there is no such client.
  [[nodiscard]] bool release(std::uint8_t service, std::uint8_t id);
  void release_all();

 private:
  /// A socket's, which ends with its client, or the terminal, which stays.
  class client_connection;
  using protocol_type = asio::generic::stream_protocol;

  void add(peer_stream stream);
  void receive(connection_number from, const protocol::qmux::frame& frame);
  void ignore(connection_number from, std::string_view reason);
  /// Not silence, which a client would wait out.
  void refuse(connection_number from, const protocol::qmux::frame& frame);
  void control(connection_number from, protocol::byte_view message);
  void write(connection_number to, const protocol::qmux::frame& frame);
  void release(std::uint32_t client_port);
  [[nodiscard]] client client_at(std::uint32_t client_port);

  asio::io_context& io_;
  const node& node_;
  dispatcher& dispatcher_;
  trace& trace_;
  qmux_clients clients_;
  std::optional<listener<protocol_type>> listener_;
  std::optional<shared_terminal> terminal_;
  std::map<connection_number, std::shared_ptr<client_connection>> connections_;
  connection_number next_connection_ = 1;
};

}  // namespace sim
