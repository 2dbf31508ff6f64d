#include "decode/page/record_values.h"

#include <cmath>
#include <limits>

namespace decode::page {

using modem_stats::column;
using modem_stats::field_type;
using modem_stats::record_schema;

namespace {

constexpr double powers_of_ten[] = {1, 10, 100, 1000};

/// No number at all if it is not finite.
double load(const column& column, const std::uint8_t* part) {
  const auto size = modem_stats::size_of(column.field->type);
  const auto value = modem_stats::load_field(*column.field, std::span(part + column.byte, size));
  switch (value.type) {
    case field_type::int8:
    case field_type::int16:
    case field_type::int32:
      return static_cast<double>(value.signed_number);
    case field_type::float32:
      return static_cast<double>(value.real);
    default:
      return static_cast<double>(value.unsigned_number);
  }
}

}  // namespace

std::optional<located_column> find_column(const record_schema& schema, std::string_view name) {
  const auto parts = schema.parts();
  for (std::size_t i = 0; i <= parts.size(); ++i) {
    for (const auto& one : modem_stats::columns_of(i < parts.size() ? parts[i] : schema.beside)) {
      if (one.name == name) return located_column{one, i};
    }
  }
  return {};
}

record_values::record_values(const record_schema& schema, const modem_stats::record_data& data)
    : num_parts_(schema.parts().size() + 1) {
  const std::uint8_t* at = data.bytes.data();
  std::size_t index = 0;
  for (const auto& part : schema.parts()) {
    const auto count =
        part.repeated() ? modem_stats::repetitions(schema, part, data.bytes) : std::size_t{1};
    parts_[index] = {at, modem_stats::size_of(part), count};
    at += count * parts_[index++].size;
  }
  parts_[index] = {data.beside.data(), modem_stats::size_of(schema.beside), 1};
}

std::optional<double> number_of(const column& column, const std::uint8_t* part) {
  if (column.means != nullptr || column.is_null(part)) return {};
  const double value = load(column, part);
  if (!std::isfinite(value)) return {};
  return value / powers_of_ten[column.field->decimals];
}

std::string_view meaning_of(const column& column, const std::uint8_t* part,
                            const std::uint8_t* record) {
  if (column.means == nullptr || column.is_null(part)) return {};
  std::uint32_t version = 0;
  if (!column.means->texts_before_3.empty()) std::memcpy(&version, record, sizeof version);
  return modem_stats::text_of(*column.means, static_cast<std::uint64_t>(load(column, part)),
                              version);
}

}  // namespace decode::page
