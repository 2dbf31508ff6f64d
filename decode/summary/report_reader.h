// Reads the summaries that other runs have written as JSON, and merges them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "decode/summary/summary.h"

namespace decode {

struct merged_summary {
  summary counts;
  double seconds = 0;  // of all runs together
};

/// The summary that one run over all their captures would have made. Each file that is not a whole
/// summary, or that counts what another one counts, is reported on standard error, and there is no
/// value then.
[[nodiscard]] std::optional<merged_summary> merge_summaries(const std::vector<std::string>& files);

}  // namespace decode
