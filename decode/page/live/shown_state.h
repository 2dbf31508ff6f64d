// What browsers have been told, so that a change says only what differs.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "decode/page/drive.h"
#include "decode/page/page_json.h"
#include "decode/page/run_counts.h"

namespace decode::page {

class shown_state {
 public:
  /// Whether it has the same charts and bands, by whose numbers a change tells what is new.
  [[nodiscard]] bool has_same_charts(const drive& all) const;
  /// All that differs; of series, what is not older than `from`, in milliseconds.
  [[nodiscard]] bucketed_json changes(const drive& all, const run_counts& counts,
                                      std::int64_t from) const;
  void take(const drive& all, const run_counts& counts);

 private:
  struct shown_series {
    drive::series_key key;
    std::int64_t width;
  };
  struct shown_band {
    drive::series_key key;
    std::uint64_t spans;  // so far, as all these counts
  };
  /// All that can change in a cell's row.
  struct shown_cell {
    std::uint64_t visits;
    std::uint64_t levels;
    double seconds;
    std::optional<cell_identity> broadcast;

    friend bool operator==(const shown_cell&, const shown_cell&) = default;
  };

  [[nodiscard]] static shown_cell shown(const visited_cell& one, const run_counts& counts);
  [[nodiscard]] bool shows(std::uint64_t number, const cell_change& change) const;

  std::vector<shown_series> series_;
  std::vector<shown_band> bands_;
  std::vector<shown_cell> cells_;
  std::uint64_t first_change_ = 0;
  std::vector<bool> changes_;  // whether the level after it is told
  std::uint64_t marks_ = 0;
};

/// The series of all charts, in the order in which the page has them.
[[nodiscard]] std::vector<std::pair<drive::series_key, const series&>> charted_series(
    const drive& all);

}  // namespace decode::page
