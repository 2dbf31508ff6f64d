// Decoding captures: files, directories and standard input.
#pragma once

#include "decode/input/input_files.h"
#include "decode/options.h"
#include "decode/output/record_output.h"

namespace decode {

struct summary;

/// False when something could not be read, which has been reported. Throws output_error.
[[nodiscard]] bool decode_files(const options& chosen, const input_files& inputs,
                                record_store& store, summary& counts);

}  // namespace decode
