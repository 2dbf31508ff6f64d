// Values of a record by the names of its columns. All that the rows of the record say is looked up
// once, so that a value costs little more than to load it.
#pragma once

#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <string_view>

#include "modem_stats/columns.h"

namespace decode::page {

/// Reads a column.
class value_reader {
 public:
  /// `part`: index into the schema's parts; their number: beside the record.
  value_reader(const modem_stats::column& column, std::size_t part);

  [[nodiscard]] std::string_view column() const { return name_; }
  [[nodiscard]] std::size_t part() const { return part_; }

  /// No value if it is null, not finite, or text.
  [[nodiscard]] std::optional<double> number(const std::uint8_t* part) const {
    if (means_ != nullptr || null_.holds(part)) return {};
    const double value = load(part);
    if (!std::isfinite(value)) return {};
    return value / divisor_;
  }
  /// The text of a column of meanings; empty if it is null or not known.
  [[nodiscard]] std::string_view meaning(const std::uint8_t* part,
                                         const std::uint8_t* record) const;

 private:
  template <typename T>
  static double as(const std::uint8_t* at) {
    T value;
    std::memcpy(&value, at, sizeof value);
    return static_cast<double>(value);
  }
  [[nodiscard]] double load(const std::uint8_t* part) const {
    using modem_stats::field_type;
    const auto* const at = part + byte_;
    switch (type_) {
      case field_type::uint8:
        return as<std::uint8_t>(at);
      case field_type::uint16:
        return as<std::uint16_t>(at);
      case field_type::uint32:
        return as<std::uint32_t>(at);
      case field_type::uint64:
        return as<std::uint64_t>(at);
      case field_type::int8:
        return as<std::int8_t>(at);
      case field_type::int16:
        return as<std::int16_t>(at);
      case field_type::int32:
        return as<std::int32_t>(at);
      case field_type::float32:
        break;
    }
    return as<float>(at);
  }

  modem_stats::null_test null_;
  modem_stats::field_type type_;
  std::uint8_t part_;
  std::uint16_t byte_;
  double divisor_;
  const modem_stats::meaning* means_;
  const char* name_;
};

/// No value if the record has no such column.
[[nodiscard]] std::optional<value_reader> find_column(const modem_stats::record_schema& schema,
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
  record_values(const modem_stats::record_schema& schema, const modem_stats::record_data& data) {
    if (schema.num_parts == 1) {  // as nearly all of them
      parts_[0] = {data.bytes.data(), data.bytes.size(), 1};
    } else {
      place_parts(schema, data.bytes);
    }
    parts_[schema.num_parts] = {data.beside.data(), data.beside.size(), 1};
  }

  [[nodiscard]] const part_bytes& part(std::size_t index) const { return parts_[index]; }
  /// The start of the record.
  [[nodiscard]] const std::uint8_t* record() const { return parts_[0].first; }

  /// Of a column that is not in a repeated part.
  [[nodiscard]] std::optional<double> number(const value_reader& from) const {
    return from.number(parts_[from.part()].first);
  }
  [[nodiscard]] std::string_view meaning(const value_reader& from) const {
    return from.meaning(parts_[from.part()].first, record());
  }

 private:
  void place_parts(const modem_stats::record_schema& schema, std::span<const std::uint8_t> bytes);

  std::array<part_bytes, modem_stats::record_schema::max_parts + 1> parts_;
};

}  // namespace decode::page
