// All that the page shows, gathered from the records of a run in bounded memory.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <vector>

#include "decode/page/cells.h"
#include "decode/page/extractor.h"
#include "decode/page/observations.h"
#include "decode/page/series.h"

namespace decode::page {

/// Of each series while records come.
constexpr std::size_t most_buckets = 4096;
/// Of all series together in a page.
constexpr std::size_t most_page_buckets = 120'000;

/// A state that holds until the next one of its band.
struct state_span {
  std::int64_t milliseconds;
  std::string_view state;
};

/// Points in time of which only the first ones are kept and the rest counted, unless those before
/// some time are forgotten.
template <typename T, std::size_t most>
class bounded_list {
 public:
  void add(T one) {
    if (kept_.size() < most) {
      kept_.push_back(std::move(one));
    } else {
      ++left_out_;
    }
  }
  /// But for the newest one if it holds on; if there is no room left, a quarter at least.
  void forget_before(std::int64_t milliseconds, bool holds = false) {
    auto end =
        std::ranges::find_if(kept_, [&](const T& one) { return one.milliseconds >= milliseconds; });
    if (holds && end != kept_.begin()) --end;
    if (kept_.size() == most) end = std::max(end, kept_.begin() + most / 4);
    forgotten_ += static_cast<std::uint64_t>(end - kept_.begin());
    kept_.erase(kept_.begin(), end);
  }
  [[nodiscard]] const std::vector<T>& kept() const { return kept_; }
  [[nodiscard]] std::uint64_t left_out() const { return left_out_; }
  /// How many came before those that are kept.
  [[nodiscard]] std::uint64_t forgotten() const { return forgotten_; }

 private:
  std::vector<T> kept_;
  std::uint64_t left_out_ = 0;
  std::uint64_t forgotten_ = 0;
};

using mark_list = bounded_list<mark, 5000>;
using state_list = bounded_list<state_span, 5000>;

class drive {
 public:
  /// Of a series row and radio, or of a state row and radio.
  using series_key = std::pair<std::uint16_t, std::uint32_t>;

  explicit drive(const extraction_plan& plan) : plan_(plan) {}

  void add(const observations& more);
  /// What comes from now on is of another capture or connection.
  void end_capture();
  /// Keeps the cells.
  void forget_before(std::int64_t milliseconds);
  /// Makes the series coarser until they fit into a page together.
  void fit_page();

  [[nodiscard]] const extraction_plan& plan() const { return plan_; }
  [[nodiscard]] const std::map<series_key, series>& all_series() const { return series_; }
  [[nodiscard]] const std::map<series_key, state_list>& states() const { return states_; }
  [[nodiscard]] const mark_list& marks() const { return marks_; }
  [[nodiscard]] const cell_history& cells() const { return cells_; }
  [[nodiscard]] std::uint64_t without_time() const { return without_time_; }
  /// Of the first record whose time the modem knew, milliseconds; INT64_MAX without any.
  [[nodiscard]] std::int64_t first_known() const { return first_known_; }

 private:
  /// What a counter or an interval is measured from.
  struct last_value {
    std::int64_t milliseconds;
    double value;
    double of;
  };

  void add(const sample& one);
  [[nodiscard]] std::optional<double> difference(const sample& one);

  const extraction_plan& plan_;
  std::map<series_key, series> series_;
  std::map<series_key, last_value> last_;
  std::map<series_key, state_list> states_;
  mark_list marks_;
  cell_history cells_;
  std::uint64_t without_time_ = 0;
  std::int64_t first_known_ = INT64_MAX;
};

}  // namespace decode::page
