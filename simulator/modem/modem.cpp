#include "simulator/modem/modem.h"

#include <fmt/core.h>

#include <cstdio>

namespace sim {

void modem::drop_unfinished() {
  transfers.drop_all();
  pdc_clients.drop_all();
  try {
    hot_swap.stop();
    uicc.restart();
  } catch (const failure& error) {
    fmt::print(stderr, "tvk-modem: {}\n", error.what());
  }
}

}  // namespace sim
