// The modem's QRTR node: which services are up, at which ports, and which clients look for them.
#pragma once

#include <span>
#include <vector>

#include "protocol/modem_socket.h"
#include "protocol/qrtr.h"
#include "simulator/service.h"
#include "simulator/trace.h"

namespace sim {

/// Where lookups go and where their answers come from: a client's own node.
constexpr protocol::qrtr::address control_address{protocol::modem_socket::local_node,
                                                  protocol::qrtr::control_port};

class node {
 public:
  /// All services start up.
  node(std::span<const service_row> services, trace& trace);

  /// From now on reports services that come and go to the port; those that are up, at once.
  void attach(port& port);

  /// A datagram that a client sent to the control port.
  void control(const client& from, protocol::byte_view datagram);
  void client_gone(const client& gone);

  void bring_up(const service_row& service) { turn(service, true); }
  void take_down(const service_row& service) { turn(service, false); }
  [[nodiscard]] std::span<const service_row> services() const { return services_; }
  [[nodiscard]] bool is_up(const service_row& service) const { return entry_of(service).up; }

  /// The service that is up at the address, else null.
  [[nodiscard]] const service_row* service_at(protocol::qrtr::address at) const;
  [[nodiscard]] protocol::qrtr::address address_of(const service_row& service) const {
    return entry_of(service).server.at;
  }

 private:
  struct entry {
    const service_row* service;
    protocol::qrtr::server server;
    bool up = true;
  };
  struct lookup {
    client from;
    protocol::qrtr::server asked;
  };

  void add_lookup(const lookup& added);
  void remove_lookup(const lookup& removed);
  void turn(const service_row& service, bool up);
  void send(const client& to, const protocol::qrtr::control_packet& packet);
  [[nodiscard]] const entry& entry_of(const service_row& service) const;

  std::span<const service_row> services_;
  trace& trace_;
  std::vector<entry> entries_;
  std::vector<lookup> lookups_;
  std::vector<port*> ports_;
};

}  // namespace sim
