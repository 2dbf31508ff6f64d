// One connection of a QMUX port.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string_view>
#include <vector>

#include <asio/generic/stream_protocol.hpp>

#include "protocol/qmux.h"
#include "simulator/ports/qmux_clients.h"

namespace sim {

class qmux_port;

class qmux_connection : public std::enable_shared_from_this<qmux_connection> {
 public:
  using socket_type = asio::generic::stream_protocol::socket;

  qmux_connection(qmux_port& owner, connection_number number, socket_type socket);

  void start() { receive(); }

  /// Queued; a peer that leaves too much unread is dropped.
  void send(std::vector<std::uint8_t> frame);

 private:
  void receive();
  void received(std::size_t size);
  void write_queued();
  /// Closes from the event loop: whoever is sending may be walking the list of clients.
  void close_soon(std::string_view reason);

  qmux_port& owner_;
  connection_number number_;
  socket_type socket_;
  protocol::qmux::frame_cutter frames_;
  std::array<std::uint8_t, 16384> buffer_{};
  std::deque<std::vector<std::uint8_t>> queue_;
  std::size_t queued_bytes_ = 0;
  bool closing_ = false;
};

}  // namespace sim
