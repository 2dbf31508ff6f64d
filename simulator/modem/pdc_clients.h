// What the configuration service knows of its clients: the configuration that each is loading, how
// far it has read the list, and which indications it wants.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "protocol/bytes.h"
#include "simulator/modem/pdc_configs.h"
#include "simulator/port.h"

namespace sim {

/// A configuration being loaded, chunk by chunk.
struct config_load {
  config_name name;
  std::uint32_t total = 0;
  std::vector<std::uint8_t> data;
};

/// A list with parts still to be sent.
struct config_listing {
  std::uint32_t token = 0;
  std::optional<std::uint32_t> type;
  std::int64_t after = 0;
};

struct pdc_client {
  bool wants_changes = false;
  bool wants_refreshes = false;
  std::optional<config_load> loading;
  std::optional<config_listing> listing;
};

class pdc_clients {
  using clients = std::map<client, pdc_client, client_order>;

 public:
  [[nodiscard]] pdc_client& of(const client& who) { return clients_[who]; }
  [[nodiscard]] const clients& all() const { return clients_; }

  void drop(const client& who) { clients_.erase(who); }
  void drop_all() { clients_.clear(); }

 private:
  clients clients_;
};

}  // namespace sim
