// Decoding what comes over a DIAG port, until SIGINT or SIGTERM.
#pragma once

#include "decode/options.h"
#include "decode/output/record_output.h"
#include "decode/summary.h"

namespace decode {

/// Asks the port for the logs and events that are wanted and takes the request back at the end; a
/// port that goes is waited for. False when there is none to begin with, which was told. Throws
/// output_error.
[[nodiscard]] bool decode_live(const options& chosen, record_store& store, summary& counts);

}  // namespace decode
