// Finds the servers of a service: a lookup on a port, which stays registered for changes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/qmi/transport.h"
#include "protocol/qrtr.h"

namespace qmi {

using protocol::qrtr::server;

struct found {
  open_result result = open_result::refused;
  std::unique_ptr<transport> port;  ///< the lookup is registered on it
  std::vector<server> servers;      ///< those already up
};

/// The service's name in messages to the user: "QMI service 0xFFE4".
[[nodiscard]] std::string service_name(std::uint32_t service);

/// Opens a port and lists a service's servers of every version and instance.
[[nodiscard]] found find_servers(std::uint32_t service);

/// What a datagram from the name service says about servers.
struct server_event {
  bool is_up = false;
  server which;  ///< service 0 when a whole port is gone

  [[nodiscard]] bool is_end_of_list() const { return is_up && which.is_end_of_list(); }
  /// Whether the service at this address is gone, alone or with its whole port.
  [[nodiscard]] bool ends(std::uint32_t service, address at) const {
    return !is_up && which.at == at && (which.service == 0 || which.service == service);
  }
};
[[nodiscard]] std::optional<server_event> parse_server_event(address from, byte_view datagram);

}  // namespace qmi
