#include "decode/page/extractor.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

#include "decode/output/record_text.h"
#include "modem_stats/record_table.h"

namespace decode::page {

namespace {

using modem_stats::record_data;
using modem_stats::record_schema;

constexpr unsigned num_chains = 4;

/// Modems count from 1980 until they know the time.
constexpr std::int64_t first_known_time = 631152000000000;  // 1990, microseconds

/// Where a record tells the serving cell. Records without a channel tell levels of the cell that is
/// known by other records.
struct cell_row {
  std::uint8_t record;
  radio_technology rat;
  const char* arfcn;
};
constexpr cell_row cell_rows[] = {
    {82, radio_technology::lte, "dl_earfcn"},    {129, radio_technology::lte, "dl_earfcn"},
    {109, radio_technology::lte, "dl_earfcn"},   {135, radio_technology::nr, "ssb_nr_arfcn"},
    {130, radio_technology::nr, "ssb_nr_arfcn"}, {92, radio_technology::nr, "ssb_nr_arfcn"},
    {137, radio_technology::nr, nullptr},
};

struct modulation_row {
  std::string_view name;
  double bits;
};
constexpr modulation_row modulations[] = {{"QPSK", 2}, {"16QAM", 4}, {"64QAM", 6}, {"256QAM", 8}};

const record_schema& schema_of(std::uint8_t record) {
  for (const auto* const schema : modem_stats::record_table()) {
    if (schema->id == record) return *schema;
  }
  throw std::logic_error(fmt::format("no record {}", record));
}

located_column column_of(const record_schema& schema, std::string_view name) {
  if (const auto found = find_column(schema, name)) return *found;
  throw std::logic_error(fmt::format("record {} has no column {}", schema.name, name));
}

/// The columns of all receive chains that the record has.
std::vector<located_column> chains_of(const record_schema& schema, std::string_view before,
                                      std::string_view after) {
  std::vector<located_column> found;
  for (unsigned i = 0; i < num_chains; ++i) {
    if (auto one = find_column(schema, fmt::format("{}{}{}", before, i, after))) {
      found.push_back(*one);
    }
  }
  return found;
}

std::string with_chain(std::string_view text, unsigned chain) {
  std::string result(text);
  std::ranges::replace(result, '#', static_cast<char>('0' + chain));
  return result;
}

std::optional<double> number_in(const record_values& values, const located_column& from) {
  return number_of(from.column, values.part(from.part).first);
}

std::uint64_t whole_number_in(const record_values& values,
                              const std::optional<located_column>& from) {
  const auto found = from ? number_in(values, *from) : std::nullopt;
  return found ? static_cast<std::uint64_t>(*found) : 0;
}

/// The strongest antenna counts, as in the levels that a phone reports.
std::optional<float> best_of(const record_values& values,
                             const std::vector<located_column>& chains) {
  std::optional<float> best;
  for (const auto& one : chains) {
    const auto value = number_in(values, one);
    if (value)
      best = std::max(best.value_or(static_cast<float>(*value)), static_cast<float>(*value));
  }
  return best;
}

std::optional<double> value_of(const series_row& row, const modem_stats::column& column,
                               const std::uint8_t* part, const std::uint8_t* record) {
  if (row.kind == series_kind::modulation_bits) {
    const auto* const found =
        std::ranges::find(modulations, meaning_of(column, part, record), &modulation_row::name);
    if (found == std::end(modulations)) return {};
    return found->bits;
  }
  if (row.kind == series_kind::interval) return 0;
  const auto value = number_of(column, part);
  if (!value) return {};
  if (row.kind == series_kind::failures) return *value == 0 ? 100 : 0;
  return *value + static_cast<double>(row.offset);
}

}  // namespace

extraction_plan::extraction_plan() {
  for (const auto& row : series_rows()) plan_series(row);
  for (std::size_t i = 0; i < state_rows().size(); ++i) {
    const auto& row = state_rows()[i];
    records_[row.record].states.push_back(
        {static_cast<std::uint16_t>(i), column_of(schema_of(row.record), row.column)});
  }
  for (const auto& row : cell_rows) plan_cell(row.record, row.rat, row.arfcn);
  for (std::size_t i = 0; i < mark_rows().size(); ++i) {
    records_[mark_rows()[i].record].mark = static_cast<int>(i);
  }
}

void extraction_plan::plan_series(const series_row& row) {
  const auto& schema = schema_of(row.record);
  const bool has_chains = std::string_view(row.column).find('#') != std::string_view::npos;
  for (unsigned chain = 0; chain < (has_chains ? num_chains : 1); ++chain) {
    const auto column = find_column(schema, with_chain(row.column, chain));
    if (!column) {
      if (chain > 0) return;  // a record of fewer chains
      column_of(schema, row.column);
    }
    std::optional<located_column> of;
    if (row.of_column != nullptr) of = column_of(schema, row.of_column);
    records_[row.record].series.push_back(
        {static_cast<std::uint16_t>(series_.size()), *column, of});
    series_.push_back({&row, with_chain(row.label, chain)});
  }
}

void extraction_plan::plan_cell(std::uint8_t record, radio_technology rat, const char* arfcn) {
  const auto& schema = schema_of(record);
  cell_columns columns{};
  columns.rat = rat;
  columns.pci = column_of(schema, "pci");
  if (arfcn != nullptr) columns.arfcn = column_of(schema, arfcn);
  columns.rsrp = chains_of(schema, "rsrp_rx", "_dBm");
  columns.rsrq = chains_of(schema, "rsrq_rx", "_dB");
  columns.sinr = chains_of(schema, "snr_rx", "_dB");
  if (const auto all = find_column(schema, "rsrq_dB")) columns.rsrq.push_back(*all);
  columns.identity = find_column(schema, "cell_identity");
  columns.tac = find_column(schema, "tac");
  columns.band = find_column(schema, "band");
  columns.bandwidth = find_column(schema, "dl_bandwidth_MHz");
  columns.mcc = find_column(schema, "mcc");
  columns.mnc = find_column(schema, "mnc");
  columns.mnc_digits = find_column(schema, "num_mnc_digits");
  records_[record].cell = std::move(columns);
}

void extraction_plan::extract_cell(const cell_columns& columns, const packet_source& source,
                                   const record_values& values, observations& to) const {
  const auto pci = number_in(values, *columns.pci);
  if (!pci) return;
  cell_observation seen{.milliseconds = source.time / 1000,
                        .radio = source.radio,
                        .rat = columns.rat,
                        .pci = static_cast<std::uint16_t>(*pci),
                        .arfcn = no_arfcn,
                        .levels = {best_of(values, columns.rsrp), best_of(values, columns.rsrq),
                                   best_of(values, columns.sinr)}};
  if (columns.arfcn) {
    const auto arfcn = number_in(values, *columns.arfcn);
    if (!arfcn) return;
    seen.arfcn = static_cast<std::uint32_t>(*arfcn);
  }
  if (columns.identity) {
    const auto digits = whole_number_in(values, columns.mnc_digits);
    const auto* const part = values.part(columns.bandwidth->part).first;
    const auto text = meaning_of(columns.bandwidth->column, part, values.record());
    const auto number = number_in(values, *columns.bandwidth);
    seen.broadcast = {
        .identity = whole_number_in(values, columns.identity),
        .tac = static_cast<std::uint32_t>(whole_number_in(values, columns.tac)),
        .band = static_cast<std::uint16_t>(whole_number_in(values, columns.band)),
        .bandwidth_mhz = number         ? *number
                         : text.empty() ? 0
                                        : std::stod(std::string(text)),
        .network = fmt::format("{:03}-{:0{}}", whole_number_in(values, columns.mcc),
                               whole_number_in(values, columns.mnc), digits == 3 ? 3 : 2)};
  }
  to.cells.push_back(std::move(seen));
}

void extraction_plan::extract(const packet_source& source, const record_schema& schema,
                              const record_data& data, observations& to) const {
  if (source.time < first_known_time) {
    ++to.without_time;
    return;
  }
  const auto& plan = records_[schema.id];
  const record_values values(schema, data);
  const std::int64_t milliseconds = source.time / 1000;
  for (const auto& one : plan.series) {
    const auto& part = values.part(one.value.part);
    const std::uint8_t* at = part.first;
    for (std::size_t i = 0; i < part.count; ++i, at += part.size) {
      const auto value = value_of(*series_[one.series].row, one.value.column, at, values.record());
      if (!value) continue;
      const auto of = one.of ? number_in(values, *one.of) : std::nullopt;
      to.samples.push_back({milliseconds, source.radio, one.series, *value, of.value_or(0)});
    }
  }
  for (const auto& one : plan.states) {
    const auto* const part = values.part(one.value.part).first;
    const auto state = meaning_of(one.value.column, part, values.record());
    if (!state.empty()) to.states.push_back({milliseconds, source.radio, one.row, state});
  }
  if (plan.cell) extract_cell(*plan.cell, source, values, to);
  if (plan.mark >= 0) {
    to.marks.push_back({milliseconds, source.radio, static_cast<std::uint16_t>(plan.mark),
                        record_text(schema, data)});
  }
}

}  // namespace decode::page
