// The clients among the kernel's AF_QIPCRTR sockets: those that have sent something and have not
// been closed.
#pragma once

#include <set>

#include "simulator/dispatcher.h"
#include "simulator/port.h"
#include "simulator/trace.h"

namespace sim {

class qrtr_clients {
 public:
  qrtr_clients(port& via, dispatcher& dispatcher, trace& trace)
      : via_(via), dispatcher_(dispatcher), trace_(trace) {}

  /// What a socket has sent to the address of a service.
  void receive_data(protocol::qrtr::address from, protocol::qrtr::address service,
                    protocol::byte_view datagram) {
    if (known_.insert(from).second) trace_.client_connects({&via_, from});
    dispatcher_.receive({&via_, from}, service, datagram);
  }

  /// A control packet of the kernel, which reports every port that is closed, anybody's.
  void receive_control(protocol::byte_view datagram) {
    const auto packet = protocol::qrtr::parse_control(datagram);
    if (!packet || packet->cmd != protocol::qrtr::command::del_client) return;
    const client gone{&via_, packet->about.at};
    if (known_.erase(gone.at) == 0) return;
    trace_.client_leaves(gone, "closed");
    dispatcher_.client_gone(gone);
  }

 private:
  port& via_;
  dispatcher& dispatcher_;
  trace& trace_;
  std::set<protocol::qrtr::address> known_;
};

}  // namespace sim
