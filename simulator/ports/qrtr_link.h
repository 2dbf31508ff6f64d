// The modem as a QRTR node of its own, as on a phone: a link to the kernel's node, on which it
// announces its services and obeys the flow control of QRTR.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <utility>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>

#include "host/file_descriptor.h"
#include "protocol/qrtr_link.h"
#include "simulator/node.h"
#include "simulator/port.h"
#include "simulator/ports/qrtr_clients.h"

namespace sim {

/// A new link to the kernel, which forgets the node when it is closed. Throws `failure`.
[[nodiscard]] host::file_descriptor open_kernel_link();

class qrtr_link : public port {
 public:
  /// Announces the services that are up, as those of node `number`. Each read and each write of the
  /// link is one packet.
  qrtr_link(asio::io_context& io, host::file_descriptor link, std::uint32_t number, node& node,
            dispatcher& dispatcher, trace& trace);

  void send(protocol::qrtr::address to, protocol::qrtr::address from,
            protocol::byte_view datagram) override;
  void announce(protocol::qrtr::command change, const protocol::qrtr::server& server) override;

 private:
  /// To one client. What it has not confirmed is limited, and the rest waits.
  struct flow {
    unsigned unconfirmed = 0;
    std::deque<std::pair<protocol::qrtr::address, std::vector<std::uint8_t>>> waiting;
  };

  void receive();
  void received(const protocol::qrtr::link_packet& packet);
  void resume(protocol::qrtr::address to);
  void write(const protocol::qrtr::link_packet& packet);

  asio::posix::stream_descriptor link_;
  const std::uint32_t number_;
  qrtr_clients clients_;
  std::map<protocol::qrtr::address, flow> flows_;
  std::array<std::uint8_t, std::size_t{128} << 10> buffer_{};
};

}  // namespace sim
