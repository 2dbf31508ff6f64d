// The modem behind the services: what they read and change.
#pragma once

#include <string>

#include "simulator/modem/store.h"

namespace sim {

struct modem {
  explicit modem(const std::string& state_directory) : store(state_directory) {}

  sim::store store;
};

}  // namespace sim
