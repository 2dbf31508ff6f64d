// One connection of the modem socket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string_view>
#include <vector>

#include <asio/generic/seq_packet_protocol.hpp>

#include "protocol/bytes.h"
#include "protocol/qrtr.h"

namespace sim {

class modem_socket_port;

class modem_connection : public std::enable_shared_from_this<modem_connection> {
 public:
  using socket_type = asio::generic::seq_packet_protocol::socket;

  modem_connection(modem_socket_port& owner, std::uint32_t client_port, socket_type socket);

  void start() { receive(); }

  /// At once if the peer keeps up, else queued; a peer that leaves too much unread is dropped.
  void send(protocol::qrtr::address from, protocol::byte_view datagram);

 private:
  void receive();
  void received(std::size_t size);
  void wait_until_writable();
  void write_queued();
  /// Closes from the event loop: whoever is sending may be walking the list of clients.
  void close_soon(std::string_view reason);

  modem_socket_port& owner_;
  std::uint32_t client_port_;
  socket_type socket_;
  std::unique_ptr<std::uint8_t[]> buffer_;
  asio::socket_base::message_flags received_flags_ = 0;
  std::deque<std::vector<std::uint8_t>> queue_;
  std::size_t queued_bytes_ = 0;
  bool closing_ = false;
};

}  // namespace sim
