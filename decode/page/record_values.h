// Values of a record by the names of its columns.
#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "modem_stats/columns.h"

namespace decode::page {

/// A column, and the part of the record in which it is.
struct located_column {
  modem_stats::column column;
  std::size_t part;  // index into the schema's parts; their number: beside the record
};

/// No value if the record has no such column.
[[nodiscard]] std::optional<located_column> find_column(const modem_stats::record_schema& schema,
                                                        std::string_view name);

/// A part of a record as often as it is repeated.
struct part_bytes {
  const std::uint8_t* first;
  std::size_t size;  // of one repetition
  std::size_t count;
};

/// The parts of a record, and last what is beside it.
class record_values {
 public:
  record_values(const modem_stats::record_schema& schema, const modem_stats::record_data& data);

  [[nodiscard]] const part_bytes& part(std::size_t index) const { return parts_[index]; }
  [[nodiscard]] std::size_t num_parts() const { return num_parts_; }
  /// The start of the record.
  [[nodiscard]] const std::uint8_t* record() const { return parts_[0].first; }

 private:
  std::array<part_bytes, modem_stats::record_schema::max_parts + 1> parts_;
  std::size_t num_parts_;
};

/// No value if it is null, or text.
[[nodiscard]] std::optional<double> number_of(const modem_stats::column& column,
                                              const std::uint8_t* part);
/// The text of a column of meanings; empty if it is null or not known.
[[nodiscard]] std::string_view meaning_of(const modem_stats::column& column,
                                          const std::uint8_t* part, const std::uint8_t* record);

}  // namespace decode::page
