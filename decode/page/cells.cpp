#include "decode/page/cells.h"

#include <cmath>
#include <tuple>

namespace decode::page {

namespace {

/// Between two records of one cell; when they are further apart, nobody knows what served.
constexpr std::int64_t longest_step = 60'000;  // ms

}  // namespace

void distribution::add(double value) {
  ++counts_[static_cast<std::int32_t>(std::lround(value * 100))];
  ++count_;
  sum_ += value;
}

double distribution::percentile(unsigned percent) const {
  const std::uint64_t rank = (count_ * percent + 99) / 100;
  std::uint64_t below = 0;
  for (const auto& [hundredths, count] : counts_) {
    below += count;
    if (below >= rank) return hundredths / 100.0;
  }
  return 0;
}

std::optional<std::size_t> cell_history::find_or_add(const cell_observation& seen) {
  const std::tuple key(seen.radio, seen.rat, seen.arfcn, seen.pci);
  const auto found = index_.find(key);
  if (found != index_.end()) return found->second;
  if (cells_.size() == most_cells) {
    ++cells_left_out_;
    return {};
  }
  index_.emplace(key, cells_.size());
  cells_.push_back({.radio = seen.radio, .rat = seen.rat, .pci = seen.pci, .arfcn = seen.arfcn});
  return cells_.size() - 1;
}

void cell_history::change_to(serving& now, std::size_t cell, const cell_observation& seen) {
  ++cells_[cell].visits;
  if (changes_.size() < most_changes) {
    now.change = changes_.size();
    changes_.push_back({seen.milliseconds, seen.radio, now.cell, cell, now.rsrp, {}});
  } else {
    now.change.reset();
    ++changes_left_out_;
  }
  now.cell = cell;
  now.rsrp.reset();
}

void cell_history::add_levels(serving& now, const cell_levels& levels) {
  auto& cell = cells_[now.cell];
  if (levels.rsrp) {
    cell.rsrp.add(static_cast<double>(*levels.rsrp));
    if (now.change) changes_[*now.change].rsrp_after = levels.rsrp;
    now.change.reset();
    now.rsrp = levels.rsrp;
  }
  if (levels.rsrq) cell.rsrq.add(static_cast<double>(*levels.rsrq));
  if (levels.sinr) cell.sinr.add(static_cast<double>(*levels.sinr));
}

void cell_history::add(const cell_observation& seen) {
  const auto known = serving_.find({seen.radio, seen.rat});
  if (seen.arfcn == no_arfcn) {
    if (known != serving_.end() && cells_[known->second.cell].pci == seen.pci) {
      add_levels(known->second, seen.levels);
    }
    return;
  }
  const auto cell = find_or_add(seen);
  if (!cell) return;
  if (known == serving_.end()) {
    ++cells_[*cell].visits;
    serving_.insert({{seen.radio, seen.rat}, {*cell, seen.milliseconds}});
  } else {
    auto& now = known->second;
    const auto step = seen.milliseconds - now.seen;
    if (step > 0 && step <= longest_step) cells_[now.cell].milliseconds += step;
    now.seen = seen.milliseconds;
    if (now.cell != *cell) change_to(now, *cell, seen);
  }
  if (seen.broadcast) cells_[*cell].broadcast = seen.broadcast;
  add_levels(serving_.at({seen.radio, seen.rat}), seen.levels);
}

}  // namespace decode::page
