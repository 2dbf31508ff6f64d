// A port is a way into the modem. It owns sockets, passes what clients send to the dispatcher, and
// delivers what the modem sends.
#pragma once

#include <tuple>

#include "protocol/bytes.h"
#include "protocol/qrtr.h"

namespace sim {

class port {
 public:
  port() = default;
  port(const port&) = delete;
  port& operator=(const port&) = delete;
  virtual ~port() = default;

  /// Never blocks and never calls back; what cannot be delivered is dropped.
  virtual void send(protocol::qrtr::address to, protocol::qrtr::address from,
                    protocol::byte_view datagram) = 0;

  /// A service comes or goes: for a port whose clients do not look services up at our node.
  virtual void announce(protocol::qrtr::command /*change*/,
                        const protocol::qrtr::server& /*server*/) {}
};

/// A peer of a service. The same address may be in use at two ports at once.
struct client {
  port* via = nullptr;
  protocol::qrtr::address at;

  void send(protocol::qrtr::address from, protocol::byte_view datagram) const {
    via->send(at, from, datagram);
  }

  friend bool operator==(const client&, const client&) = default;
};

/// For maps by client.
struct client_order {
  bool operator()(const client& left, const client& right) const {
    return std::tie(left.via, left.at.node, left.at.port) <
           std::tie(right.via, right.at.node, right.at.port);
  }
};

}  // namespace sim
