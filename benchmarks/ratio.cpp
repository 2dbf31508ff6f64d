#include "benchmarks/ratio.h"

#include <benchmark/benchmark.h>

#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace {

class median_reporter final : public benchmark::ConsoleReporter {
 public:
  median_reporter() : ConsoleReporter(OO_Tabular) {
    SetOutputStream(&std::cerr);
    SetErrorStream(&std::cerr);
  }

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") {
        medians_[run.run_name.function_name] = run.GetAdjustedRealTime();
      }
    }
  }

  [[nodiscard]] double median(const std::string& name) const {
    const auto at = medians_.find(name);
    return at == medians_.end() ? 0 : at->second;
  }

 private:
  std::map<std::string, double> medians_;
};

}  // namespace

int run_with_ratios(int argc, char** argv, std::span<const ratio> ratios) {
  benchmark::Initialize(&argc, argv);
  median_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  for (const ratio& each : ratios) {
    const double baseline = reporter.median(each.baseline);
    if (baseline <= 0) continue;
    std::cerr << each.subject << " / " << each.baseline << " = "
              << reporter.median(each.subject) / baseline;
    if (each.limit > 0) std::cerr << " (limit " << each.limit << ")";
    std::cerr << "\n";
  }
  return 0;
}
