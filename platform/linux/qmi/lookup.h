// Finding servers: a lookup on a port, which stays registered there.
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

/// For messages: "QMI service 0xFFE4".
[[nodiscard]] std::string service_name(std::uint32_t service);

/// Opens a port and lists the servers of a service, whatever their version and instance.
[[nodiscard]] found find_servers(std::uint32_t service);

/// What a datagram says of servers, when it comes from the name service.
struct server_event {
  bool is_up = false;
  server which;  ///< service 0 when a whole port went away

  [[nodiscard]] bool is_end_of_list() const { return is_up && which.is_end_of_list(); }
  /// Whether this is the end of a service at an address, alone or with its whole port.
  [[nodiscard]] bool ends(std::uint32_t service, address at) const {
    return !is_up && which.at == at && (which.service == 0 || which.service == service);
  }
};
[[nodiscard]] std::optional<server_event> parse_server_event(address from, byte_view datagram);

}  // namespace qmi
