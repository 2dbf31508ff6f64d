// Turns records into observations.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "decode/output/record_output.h"
#include "decode/page/chart_rows.h"
#include "decode/page/observations.h"
#include "decode/page/record_values.h"

namespace decode::page {

/// Modems count from 1980 until they know the time.
constexpr std::int64_t first_known_time = 631152000000000;  // 1990, microseconds

/// A series of a chart, of one receive chain where the row is for several.
struct planned_series {
  const series_row* row;
  std::string label;
};

/// What to take from each kind of record, worked out once from the rows. Rows name records and
/// columns; std::logic_error when there are none of these names.
class extraction_plan {
 public:
  extraction_plan();

  [[nodiscard]] const std::vector<planned_series>& series() const { return series_; }

  void extract(const packet_source& source, const modem_stats::record_schema& schema,
               const modem_stats::record_data& data, observations& to) const;

 private:
  struct series_column {
    std::uint16_t series;
    located_column value;
    std::optional<located_column> of;
  };
  struct state_column {
    std::uint16_t row;
    located_column value;
  };
  /// Levels of the cell, by receive chain; all of them may be empty.
  struct level_columns {
    std::vector<located_column> rsrp, rsrq, sinr;
    std::optional<located_column> pci;  // of records that tell no channel
  };
  /// What a record of the cell's own information has.
  struct broadcast_columns {
    located_column identity, tac, band, bandwidth, mcc, mnc, mnc_digits;
  };
  struct record_plan {
    std::vector<series_column> series;
    std::vector<state_column> states;
    level_columns levels;
    std::optional<broadcast_columns> broadcast;
    int mark = -1;  // of mark_rows
  };

  void plan_series(const series_row& row);
  void plan_levels(const modem_stats::record_schema& schema);
  [[nodiscard]] static cell_identity identity_of(const broadcast_columns& columns,
                                                 const record_values& values);
  void extract_cell(const packet_source& source, const modem_stats::record_schema& schema,
                    const modem_stats::record_data& data, const record_values& values,
                    observations& to) const;

  std::vector<planned_series> series_;
  std::array<record_plan, 256> records_;  // by data id
};

/// A SIP message as a mark: its lines before the body.
void extract_sip(const packet_source& source, std::span<const std::uint8_t> message,
                 observations& to);

}  // namespace decode::page
