// The DIAG side of the modem that all connections share: what answers, what is sent unasked, and
// the faults.
#pragma once

#include <functional>

#include "simulator/diag/faults.h"
#include "simulator/diag/stream.h"
#include "simulator/modem/modem.h"
#include "simulator/trace.h"

namespace sim::diag {

struct server {
  modem& state;
  const source& packets;
  diag::faults faults;
  sim::trace& trace;
  std::function<void()> restart;  ///< of the whole modem
};

}  // namespace sim::diag
