// The modem socket: a Unix SOCK_SEQPACKET socket, each connection a port of the local node.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include <asio/generic/seq_packet_protocol.hpp>
#include <asio/io_context.hpp>

#include "simulator/dispatcher.h"
#include "simulator/port.h"
#include "simulator/ports/connection.h"
#include "simulator/ports/listener.h"
#include "simulator/ports/socket_path.h"
#include "simulator/trace.h"

namespace sim {

class modem_socket_port : public port {
 public:
  /// Binds; throws `failure`.
  modem_socket_port(asio::io_context& io, const std::string& path, trace& trace);
  ~modem_socket_port() override;

  /// Starts to accept connections, and passes their packets to `dispatcher`.
  void start(dispatcher& dispatcher);

  void send(protocol::qrtr::address to, protocol::qrtr::address from,
            protocol::byte_view datagram) override;

 private:
  class client_connection;
  using protocol_type = asio::generic::seq_packet_protocol;

  void accepted(peer_stream socket);

  socket_path path_;
  listener<protocol_type> listener_;
  trace& trace_;
  dispatcher* dispatcher_ = nullptr;
  std::unordered_map<std::uint32_t, std::shared_ptr<client_connection>> connections_;
  std::uint32_t next_port_;
};

}  // namespace sim
