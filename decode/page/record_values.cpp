#include "decode/page/record_values.h"

namespace decode::page {

using modem_stats::record_schema;

namespace {

constexpr double powers_of_ten[] = {1, 10, 100, 1000};

}  // namespace

value_reader::value_reader(const modem_stats::column& column, std::size_t part)
    : null_(column.null),
      type_(column.field->type),
      part_(static_cast<std::uint8_t>(part)),
      byte_(static_cast<std::uint16_t>(column.byte)),
      divisor_(powers_of_ten[column.field->decimals]),
      means_(column.means),
      name_(column.name) {}

std::string_view value_reader::meaning(const std::uint8_t* part, const std::uint8_t* record) const {
  if (means_ == nullptr || null_.holds(part)) return {};
  std::uint32_t version = 0;
  if (!means_->texts_before_3.empty()) std::memcpy(&version, record, sizeof version);
  return modem_stats::text_of(*means_, static_cast<std::uint64_t>(load(part)), version);
}

std::optional<value_reader> find_column(const record_schema& schema, std::string_view name) {
  const auto parts = schema.parts();
  for (std::size_t i = 0; i <= parts.size(); ++i) {
    for (const auto& one : modem_stats::columns_of(i < parts.size() ? parts[i] : schema.beside)) {
      if (one.name == name) return value_reader(one, i);
    }
  }
  return {};
}

void record_values::place_parts(const record_schema& schema, std::span<const std::uint8_t> bytes) {
  const std::uint8_t* at = bytes.data();
  for (std::size_t i = 0; i < schema.num_parts; ++i) {
    const auto& part = schema.parts()[i];
    const auto count =
        part.repeated() ? modem_stats::repetitions(schema, part, bytes) : std::size_t{1};
    parts_[i] = {at, modem_stats::size_of(part), count};
    at += count * parts_[i].size;
  }
}

}  // namespace decode::page
