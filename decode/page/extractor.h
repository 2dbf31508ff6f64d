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
  static constexpr std::uint16_t no_series = UINT16_MAX;
  enum class cell_level : std::uint8_t { none, rsrp, rsrq, sinr };

  /// A column of numbers and what becomes of its values, so that each is read once.
  struct number_column {
    value_reader from;
    std::uint16_t series = no_series;
    series_kind kind = series_kind::level;
    cell_level level = cell_level::none;  // of the serving cell
    double offset = 0;
    std::optional<value_reader> of{};
  };
  struct state_column {
    std::uint16_t row;
    value_reader value;
  };
  /// What a record of the cell's own information has.
  struct broadcast_columns {
    value_reader identity, tac, band, bandwidth, mcc, mnc, mnc_digits;
  };
  struct record_plan {
    std::vector<number_column> numbers;
    std::vector<state_column> states;
    bool tells_cell = false;
    std::optional<value_reader> pci{};  // of records that tell levels of a cell by it alone
    std::optional<broadcast_columns> broadcast{};
    int mark = -1;  // of mark_rows
  };

  void plan_series(const series_row& row);
  void plan_cell(const modem_stats::record_schema& schema);
  void plan_level(const modem_stats::record_schema& schema, const std::string& column,
                  cell_level level);
  [[nodiscard]] static std::optional<double> value_of(const number_column& column,
                                                      const std::uint8_t* part,
                                                      const std::uint8_t* record);
  static void add_level(cell_levels& to, cell_level level, double value);
  [[nodiscard]] static cell_identity identity_of(const broadcast_columns& columns,
                                                 const record_values& values);
  [[nodiscard]] static std::optional<cell> cell_of(const record_plan& plan,
                                                   const packet_source& source,
                                                   const modem_stats::record_schema& schema,
                                                   const modem_stats::record_data& data,
                                                   const record_values& values);

  std::vector<planned_series> series_;
  std::array<record_plan, 256> records_;  // by data id
};

/// A SIP message as a mark: its lines before the body.
void extract_sip(const packet_source& source, std::span<const std::uint8_t> message,
                 observations& to);

}  // namespace decode::page
