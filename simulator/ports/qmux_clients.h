// The clients that CTL has handed out: each is an id, 1 to 254, of one service. It outlives the
// connection that asked for it, as in a device; answers and indications go to the connection that
// used it last. The rest of the modem knows it as a port of the local node.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "protocol/qrtr.h"
#include "simulator/service.h"

namespace sim {

using connection_number = std::uint64_t;

struct qmux_client {
  connection_number connection = 0;  ///< that used it last; may be gone
  const service_row* service = nullptr;
  std::uint8_t id = 0;

  friend bool operator==(const qmux_client&, const qmux_client&) = default;
};

class qmux_clients {
 public:
  /// The client's port in the modem; empty when the service has no free id.
  [[nodiscard]] std::optional<std::uint32_t> add(connection_number connection,
                                                 const service_row& service);
  void remove(std::uint32_t port) { clients_.erase(port); }

  [[nodiscard]] const qmux_client* find(std::uint32_t port) const;
  [[nodiscard]] std::optional<std::uint32_t> port_of(std::uint8_t service, std::uint8_t id) const;
  [[nodiscard]] std::vector<std::uint32_t> ports() const;
  void used_by(std::uint32_t port, connection_number connection) {
    clients_.at(port).connection = connection;
  }

 private:
  [[nodiscard]] bool is_taken(const service_row& service, std::uint8_t id) const;

  // Above the range from which the kernel assigns client ports.
  std::uint32_t next_port_ = 0x8000;
  std::map<std::uint32_t, qmux_client> clients_;
};

}  // namespace sim
