// A full dump: a text file of everything that the modem keeps in NV items and EFS files.
//   tvk-modem dump N
//   time 2026-01-31T12:00:00Z | boots N | reason TEXT
//   nv SUBSCRIPTION NUMBER LENGTH: BYTES
//   efs SUBSCRIPTION PATH LENGTH: BYTES
// A line each; bytes are pairs of hexadecimal digits.
#pragma once

#include <string>

#include "simulator/modem/modem.h"

namespace sim {

/// Writes dump-N.bin into the state directory, complete or not at all. Throws `failure`.
void write_dump(modem& state, const std::string& reason);

}  // namespace sim
