// Decoding what comes over a DIAG port, until SIGINT, SIGTERM or SIGHUP.
#pragma once

#include "decode/options.h"
#include "decode/output/record_output.h"
#include "decode/summary.h"

namespace decode {

/// Asks the port for the logs and events that are wanted; a port that goes is waited for. However
/// it ends, it takes the request back first. It ends as well when what is written to `output` has
/// lost its reader (-1: there is none to lose). False when there is no port to begin with, which
/// was told. Throws output_error.
[[nodiscard]] bool decode_live(const options& chosen, record_store& store, int output,
                               summary& counts);

}  // namespace decode
