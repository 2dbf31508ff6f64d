#include "simulator/ports/qmux_clients.h"

#include <algorithm>

namespace sim {

std::optional<std::uint32_t> qmux_clients::add(connection_number connection,
                                               const service_row& service) {
  constexpr std::uint8_t first_id = 1;
  constexpr std::uint8_t last_id = 254;
  for (std::uint8_t id = first_id; id <= last_id; ++id) {
    if (is_taken(service, id)) continue;
    clients_.emplace(next_port_, qmux_client{connection, &service, id});
    return next_port_++;
  }
  return std::nullopt;
}

const qmux_client* qmux_clients::find(std::uint32_t port) const {
  const auto found = clients_.find(port);
  return found == clients_.end() ? nullptr : &found->second;
}

std::optional<std::uint32_t> qmux_clients::port_of(std::uint8_t service, std::uint8_t id) const {
  for (const auto& [port, each] : clients_) {
    if (each.service->id == service && each.id == id) return port;
  }
  return std::nullopt;
}

std::vector<std::uint32_t> qmux_clients::ports() const {
  std::vector<std::uint32_t> all;
  for (const auto& [port, each] : clients_) all.push_back(port);
  return all;
}

bool qmux_clients::is_taken(const service_row& service, std::uint8_t id) const {
  return std::ranges::any_of(clients_, [&](const auto& each) {
    return each.second.service == &service && each.second.id == id;
  });
}

}  // namespace sim
