// What the page says of the run as a whole, taken from its summary.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "decode/summary/summary.h"

namespace decode::page {

struct run_counts {
  std::uint64_t packets = 0;
  std::uint64_t records = 0;
  std::vector<std::uint32_t> radios;
  std::vector<std::pair<const char*, std::uint64_t>> losses;  // those that occurred
  std::vector<std::string> refused;                           // versions
  std::vector<std::pair<cell, cell_counts>> cells;

  /// 0 for a cell without a count of its own.
  [[nodiscard]] double seconds_in(const cell& which) const;
};

[[nodiscard]] run_counts counts_of(const summary& all);

}  // namespace decode::page
