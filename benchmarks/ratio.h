// Benchmarks whose results are ratios to a baseline measured in the same run.
#pragma once

#include <span>

struct ratio {
  const char* subject;
  const char* baseline;
  double limit;  ///< 0: none, the ratio is for information
};

/// Runs the registered benchmarks, then prints each ratio of medians beside its limit. The report
/// goes to standard error: a benchmark may send standard output elsewhere.
int run_with_ratios(int argc, char** argv, std::span<const ratio> ratios);
