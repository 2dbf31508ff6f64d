// Decodes what a DIAG port sends, until SIGINT, SIGTERM or SIGHUP.
#pragma once

#include "decode/options.h"
#include "decode/output/record_output.h"
#include "decode/summary/summary.h"

namespace decode {

/// Turns on the wanted logs and events; if the port is lost, waits for it. Restores the port's
/// masks before it ends for whatever reason. Also ends when `output` (-1: not checked) has lost its
/// reader. False, after reporting it, when the port cannot be opened. Throws output_error.
[[nodiscard]] bool decode_live(const options& chosen, record_store& store, int output,
                               summary& counts);

}  // namespace decode
