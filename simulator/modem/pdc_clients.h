// What the configuration service knows of its clients: the configuration that each is loading, and
// how far it has read the list.
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
  std::optional<config_load> loading;
  std::optional<config_listing> listing;
};

using pdc_clients = std::map<client, pdc_client, client_order>;

}  // namespace sim
