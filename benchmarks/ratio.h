// Benchmarks whose results are ratios to a baseline measured in the same run.
#pragma once

#include <span>

struct ratio {
  const char* subject;
  const char* baseline;
  double limit;  ///< 0: no limit, the ratio is only printed
};

/// Runs the registered benchmarks, then prints each ratio of medians and its limit. Reports on
/// standard error, because benchmarks may redirect standard output.
int run_with_ratios(int argc, char** argv, std::span<const ratio> ratios);
