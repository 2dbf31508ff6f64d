// The serving cells of each radio over time, and their levels.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "decode/page/observations.h"

namespace decode::page {

/// Counts per value in hundredths, so that percentiles are those of the values themselves.
class distribution {
 public:
  void add(double value);

  [[nodiscard]] std::uint64_t count() const { return count_; }
  [[nodiscard]] double mean() const { return sum_ / static_cast<double>(count_); }
  /// The lowest value that at least this share of the values does not exceed.
  [[nodiscard]] double percentile(unsigned percent) const;

 private:
  std::unordered_map<std::int32_t, std::uint64_t> counts_;
  std::uint64_t count_ = 0;
  double sum_ = 0;
};

struct visited_cell {
  cell which;
  std::optional<cell_identity> broadcast{};
  std::uint64_t visits = 0;
  distribution rsrp{};
  distribution rsrq{};
  distribution sinr{};
};

struct cell_change {
  std::int64_t milliseconds;
  std::uint32_t radio;
  std::size_t from;  // index into the cells
  std::size_t to;
  std::optional<float> rsrp_before;
  std::optional<float> rsrp_after;  // the first one measured
};

class cell_history {
 public:
  /// Beyond these, cells and changes are counted, not kept.
  static constexpr std::size_t most_cells = 1000;
  static constexpr std::size_t most_changes = 2000;

  void add(const cell_observation& now);
  /// What comes from now on is of another capture or connection.
  void end_capture() { serving_.clear(); }

  /// If there is no room left, a quarter at least.
  void forget_changes_before(std::int64_t milliseconds);

  [[nodiscard]] const std::vector<visited_cell>& cells() const { return cells_; }
  [[nodiscard]] const std::vector<cell_change>& changes() const { return changes_; }
  [[nodiscard]] std::uint64_t cells_left_out() const { return cells_left_out_; }
  /// How many came before those that are kept.
  [[nodiscard]] std::uint64_t changes_forgotten() const { return changes_forgotten_; }
  [[nodiscard]] std::uint64_t changes_left_out() const { return changes_left_out_; }

 private:
  /// What serves a radio in one technology.
  struct serving {
    std::size_t cell;
    std::optional<float> rsrp{};
    std::optional<std::size_t> change{};  // the one that waits for its first level
  };
  using radio_and_technology = std::pair<std::uint32_t, radio_technology>;

  [[nodiscard]] std::optional<std::size_t> find_or_add(const cell& which);
  void change_to(serving& now, std::size_t cell, const cell_observation& seen);
  void add_levels(serving& now, const cell_levels& levels);

  std::vector<visited_cell> cells_;
  std::map<cell, std::size_t> index_;
  std::map<radio_and_technology, serving> serving_;
  std::vector<cell_change> changes_;
  std::uint64_t cells_left_out_ = 0;
  std::uint64_t changes_left_out_ = 0;
  std::uint64_t changes_forgotten_ = 0;
};

}  // namespace decode::page
