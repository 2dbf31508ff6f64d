// All that the page shows, gathered from the records of a run in bounded memory.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "decode/page/cells.h"
#include "decode/page/extractor.h"
#include "decode/page/observations.h"
#include "decode/page/series.h"

namespace decode::page {

/// Of each series while records come.
constexpr std::size_t most_buckets = 4096;
/// Only garbage has more bands of states; those with the lowest keys count.
constexpr std::size_t most_bands = 64;
/// Of all series together in a page.
constexpr std::size_t most_page_buckets = 120'000;
/// Of all marks together in a page.
constexpr std::size_t most_page_text = 1'000'000;

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
    if (!is_full()) {
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
    if (is_full()) end = std::max(end, kept_.begin() + most / 4);
    forgotten_ += static_cast<std::uint64_t>(end - kept_.begin());
    kept_.erase(kept_.begin(), end);
  }
  [[nodiscard]] std::vector<T>& kept() { return kept_; }
  [[nodiscard]] const std::vector<T>& kept() const { return kept_; }
  [[nodiscard]] std::uint64_t left_out() const { return left_out_; }
  [[nodiscard]] bool is_full() const { return kept_.size() == most; }
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
  /// Of a planned series and radio, or of a state row and radio.
  using series_key = std::pair<std::uint16_t, std::uint32_t>;

  explicit drive(const extraction_plan& plan) : plan_(plan) {}

  void add(const observations& more);
  /// What comes from now on is of another capture or connection.
  void end_capture();
  /// Keeps the cells.
  void forget_before(std::int64_t milliseconds);
  /// Makes the series coarser and long texts of marks shorter until they fit into a page together.
  void fit_page() {
    fit_series();
    fit_texts();
  }

  [[nodiscard]] const extraction_plan& plan() const { return plan_; }
  /// Those that have values, in the order of their keys.
  [[nodiscard]] std::vector<std::pair<series_key, const series&>> all_series() const;
  [[nodiscard]] const std::map<series_key, state_list>& states() const { return states_; }
  [[nodiscard]] const mark_list& marks() const { return marks_; }
  [[nodiscard]] const cell_history& cells() const { return cells_; }
  [[nodiscard]] std::uint64_t without_time() const { return without_time_; }
  /// Of the first record whose time the modem knew, milliseconds; INT64_MAX without any.
  [[nodiscard]] std::int64_t first_known() const { return first_known_; }
  /// Whether the text of a further mark would be kept. Any thread may ask.
  [[nodiscard]] bool wants_texts() const { return wants_texts_; }

 private:
  struct charted_series {
    series values{most_buckets};
    std::optional<sample> last{};  // what a counter or an interval is measured from
  };
  using charted_radio = std::vector<charted_series>;  // by the plan's series

  void fit_series();
  void fit_texts();
  static void add(charted_series& to, series_kind kind, const std::vector<sample>& samples);
  [[nodiscard]] static std::optional<double> difference(series_kind kind, const sample& one,
                                                        std::optional<sample>& last);

  const extraction_plan& plan_;
  by_radio<charted_radio> radios_;
  std::map<series_key, state_list> states_;
  mark_list marks_;
  cell_history cells_;
  std::uint64_t without_time_ = 0;
  std::int64_t first_known_ = INT64_MAX;
  std::atomic<bool> wants_texts_ = true;
};

}  // namespace decode::page
