#include "decode/page/drive.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace decode::page {

namespace {

/// How far a 32-bit counter went; no value when it started again.
std::optional<double> counted(double from, double to) {
  const std::uint32_t step = static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from);
  if (step > INT32_MAX) return {};
  return step;
}

}  // namespace

std::optional<double> drive::difference(series_kind kind, const sample& one,
                                        std::optional<sample>& last) {
  const auto before = std::exchange(last, one);
  if (!before) return {};
  switch (kind) {
    case series_kind::interval:
      return static_cast<double>(one.milliseconds - before->milliseconds);
    case series_kind::counted_share: {
      const auto share = counted(before->value, one.value);
      const auto whole = counted(before->of, one.of);
      if (!share || !whole || *whole <= 0) return {};
      return 100 * *share / *whole;
    }
    default:
      return counted(before->value, one.value);
  }
}

void drive::add(charted_series& to, series_kind kind, const std::vector<sample>& samples) {
  switch (kind) {
    case series_kind::counted_bytes:
    case series_kind::counted_share:
    case series_kind::interval:
      for (const auto& one : samples) {
        const auto value = difference(kind, one, to.last);
        if (value) to.values.add(one.milliseconds, *value);
      }
      break;
    default:
      for (const auto& one : samples) to.values.add(one.milliseconds, one.value);
  }
}

void drive::add(const observations& more) {
  const auto& plan = plan_.series();
  for (const auto& [radio, samples] : more.samples.entries()) {
    auto* const to = radios_.find_or_add(radio);
    if (to == nullptr) continue;
    to->resize(plan.size());
    for (std::size_t i = 0; i < samples.size(); ++i) add((*to)[i], plan[i].row->kind, samples[i]);
  }
  for (const auto& one : more.cells) cells_.add(one);
  for (const auto& one : more.states) {
    auto& band = states_[{one.row, one.radio}];
    if (band.kept().empty() || band.kept().back().state != one.state) {
      band.add({one.milliseconds, one.state});
    }
    if (states_.size() > most_bands) states_.erase(std::prev(states_.end()));
  }
  for (const auto& one : more.marks) marks_.add(one);
  wants_texts_ = !marks_.is_full();
  without_time_ += more.without_time;
  first_known_ = std::min(first_known_, more.first_known);
}

void drive::end_capture() {
  cells_.end_capture();
  for (auto& [number, radio] : radios_.entries()) {
    for (auto& one : radio) one.last.reset();
  }
}

void drive::forget_before(std::int64_t milliseconds) {
  for (auto& [number, radio] : radios_.entries()) {
    for (auto& one : radio) one.values.forget_before(milliseconds);
  }
  for (auto& [key, band] : states_) band.forget_before(milliseconds, true);
  marks_.forget_before(milliseconds);
  wants_texts_ = true;
  cells_.forget_changes_before(milliseconds);
}

void drive::fit_series() {
  for (std::size_t most = most_buckets; most >= 2; most /= 2) {
    std::size_t all = 0;
    for (auto& [number, radio] : radios_.entries()) {
      for (auto& one : radio) {
        one.values.coarsen(most);
        all += one.values.buckets().size();
      }
    }
    if (all <= most_page_buckets) return;
  }
}

void drive::fit_texts() {
  std::size_t most_text = SIZE_MAX;
  std::size_t all = SIZE_MAX;
  while (all > most_page_text) {
    all = 0;
    std::size_t longest = 0;
    for (auto& one : marks_.kept()) {
      one.text.resize(std::min(one.text.size(), most_text));
      longest = std::max(longest, one.text.size());
      all += one.text.size();
    }
    most_text = longest / 2;
  }
}

std::vector<std::pair<drive::series_key, const series&>> drive::all_series() const {
  std::vector<std::pair<series_key, const series&>> found;
  for (std::size_t i = 0; i < plan_.series().size(); ++i) {
    for (const auto& [number, radio] : radios_.entries()) {
      const auto& one = radio[i].values;
      if (!one.buckets().empty()) found.push_back({{static_cast<std::uint16_t>(i), number}, one});
    }
  }
  return found;
}

}  // namespace decode::page
