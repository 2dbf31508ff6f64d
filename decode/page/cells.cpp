#include "decode/page/cells.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace decode::page {

void distribution::add(double value) {
  ++counts_[static_cast<std::int32_t>(std::lround(value * 100))];
  ++count_;
  sum_ += value;
}

double distribution::percentile(unsigned percent) const {
  const std::uint64_t rank = (count_ * percent + 99) / 100;
  std::uint64_t below = 0;
  std::vector<std::pair<std::int32_t, std::uint64_t>> counts(counts_.begin(), counts_.end());
  std::ranges::sort(counts);
  for (const auto& [hundredths, count] : counts) {
    below += count;
    if (below >= rank) return hundredths / 100.0;
  }
  return 0;
}

std::optional<std::size_t> cell_history::find_or_add(const cell& which) {
  const auto found = index_.find(which);
  if (found != index_.end()) return found->second;
  if (cells_.size() == most_cells) {
    ++cells_left_out_;
    return {};
  }
  index_.emplace(which, cells_.size());
  cells_.push_back({.which = which});
  return cells_.size() - 1;
}

void cell_history::change_to(serving& now, std::size_t cell, const cell_observation& seen) {
  ++cells_[cell].visits;
  if (changes_.size() < most_changes) {
    now.change = changes_.size();
    changes_.push_back({seen.milliseconds, seen.seen.radio, now.cell, cell, now.rsrp, {}});
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

void cell_history::forget_changes_before(std::int64_t milliseconds) {
  auto end = std::ranges::find_if(
      changes_, [&](const cell_change& one) { return one.milliseconds >= milliseconds; });
  if (changes_.size() == most_changes) end = std::max(end, changes_.begin() + most_changes / 4);
  const auto count = static_cast<std::size_t>(end - changes_.begin());
  changes_.erase(changes_.begin(), end);
  changes_forgotten_ += count;
  for (auto& [key, now] : serving_) {
    if (!now.change) continue;
    now.change = *now.change < count ? std::nullopt : std::optional(*now.change - count);
  }
}

void cell_history::add(const cell_observation& now) {
  const radio_and_technology key(now.seen.radio, now.seen.technology);
  auto known = serving_.find(key);
  if (now.seen.arfcn == no_arfcn) {
    if (known != serving_.end() && cells_[known->second.cell].which.pci == now.seen.pci) {
      add_levels(known->second, now.levels);
    }
    return;
  }
  const bool stays = known != serving_.end() && cells_[known->second.cell].which == now.seen;
  const auto found = stays ? std::optional(known->second.cell) : find_or_add(now.seen);
  if (!found) return;
  if (known == serving_.end()) {
    ++cells_[*found].visits;
    known = serving_.insert({key, {*found}}).first;
  } else if (known->second.cell != *found) {
    change_to(known->second, *found, now);
  }
  if (now.broadcast) cells_[*found].broadcast = now.broadcast;
  add_levels(known->second, now.levels);
}

}  // namespace decode::page
