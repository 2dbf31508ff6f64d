#include "decode/page/drive.h"

#include <algorithm>

namespace decode::page {

namespace {

/// How far a 32-bit counter went; no value when it started again.
std::optional<double> counted(double from, double to) {
  const std::uint32_t step = static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from);
  if (step > INT32_MAX) return {};
  return step;
}

}  // namespace

std::optional<double> drive::difference(const sample& one) {
  const last_value now{one.milliseconds, one.value, one.of};
  const auto [at, is_first] = last_.try_emplace({one.series, one.radio}, now);
  if (is_first) return {};
  const last_value before = std::exchange(at->second, now);
  switch (plan_.series()[one.series].row->kind) {
    case series_kind::interval:
      return static_cast<double>(now.milliseconds - before.milliseconds);
    case series_kind::counted_share: {
      const auto share = counted(before.value, now.value);
      const auto whole = counted(before.of, now.of);
      if (!share || !whole || *whole <= 0) return {};
      return 100 * *share / *whole;
    }
    default:
      return counted(before.value, now.value);
  }
}

void drive::add(const sample& one) {
  double value = one.value;
  switch (plan_.series()[one.series].row->kind) {
    case series_kind::counted_bytes:
    case series_kind::counted_share:
    case series_kind::interval: {
      const auto found = difference(one);
      if (!found) return;
      value = *found;
      break;
    }
    default:
      break;
  }
  const auto at = series_.try_emplace({one.series, one.radio}, most_buckets).first;
  at->second.add(one.milliseconds, value);
}

void drive::add(const observations& more) {
  for (const auto& one : more.samples) add(one);
  for (const auto& one : more.cells) cells_.add(one);
  for (const auto& one : more.states) {
    auto& band = states_[{one.row, one.radio}];
    if (band.kept().empty() || band.kept().back().state != one.state) {
      band.add({one.milliseconds, one.state});
    }
  }
  for (const auto& one : more.marks) marks_.add(one);
  without_time_ += more.without_time;
  first_known_ = std::min(first_known_, more.first_known);
}

void drive::end_capture() {
  cells_.end_capture();
  last_.clear();
}

void drive::forget_before(std::int64_t milliseconds) {
  for (auto& [key, one] : series_) one.forget_before(milliseconds);
  for (auto& [key, band] : states_) band.forget_before(milliseconds, true);
  marks_.forget_before(milliseconds);
  cells_.forget_changes_before(milliseconds);
}

void drive::fit_page() {
  for (std::size_t most = most_buckets; most >= 2; most /= 2) {
    std::size_t all = 0;
    for (auto& [key, one] : series_) {
      one.coarsen(most);
      all += one.buckets().size();
    }
    if (all <= most_page_buckets) return;
  }
}

}  // namespace decode::page
