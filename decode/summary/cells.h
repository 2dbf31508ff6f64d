// The cells that served each radio, and how long.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <utility>

#include "decode/summary/tables.h"
#include "modem_stats/record_schema.h"

namespace decode {

enum class radio_technology : std::uint8_t { lte, nr };

struct cell {
  std::uint32_t radio;
  radio_technology technology;
  std::uint32_t arfcn;
  std::uint16_t pci;

  // NOLINTNEXTLINE(modernize-use-nullptr): in what the compiler writes.
  friend auto operator<=>(const cell&, const cell&) = default;
};

/// Whether records of this kind tell the serving cell.
[[nodiscard]] bool tells_cell(const modem_stats::record_schema& schema);
/// The serving cell that the record tells, if it tells one.
[[nodiscard]] std::optional<cell> told_cell(std::uint32_t radio,
                                            const modem_stats::record_schema& schema,
                                            const modem_stats::record_data& data);

struct cell_counts {
  std::int64_t microseconds = 0;  // from its records to the next record of a serving cell
  std::uint64_t records = 0;

  void add(const cell_counts& other) {
    microseconds += other.microseconds;
    records += other.records;
  }
};

/// The time between two records that tell the serving cell belongs to the cell of the first.
class serving_cells {
 public:
  static constexpr std::size_t most_cells = 256;

  /// Counts the record if it tells the serving cell.
  void record(std::uint32_t radio, std::int64_t time, const modem_stats::record_schema& schema,
              const modem_stats::record_data& data);
  /// What is added from now on is of another capture or connection.
  void end_capture() { tracks_.clear(); }
  /// Adds what comes next in the same capture, or after end_capture().
  void add(const serving_cells& next);

  [[nodiscard]] const auto& counts() const { return counts_; }
  [[nodiscard]] auto& counts() { return counts_; }

 private:
  struct sighting {
    cell seen;
    std::int64_t time;
  };
  struct track {
    sighting first, last;
  };
  using track_key = std::pair<std::uint32_t, radio_technology>;

  void follow(track& before, const track& next);

  static constexpr std::size_t most_tracks = 128;

  std::map<track_key, track> tracks_;
  lowest_keys<cell, cell_counts, most_cells> counts_;
};

}  // namespace decode
