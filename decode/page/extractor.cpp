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
constexpr std::uint8_t sip_message_record = 116;

/// Of a SIP message that a mark shows.
constexpr std::size_t most_sip_text = 1000;

/// The row of SIP messages, which have their text instead of the record's columns.
std::uint16_t sip_text_row() {
  static const auto row =
      std::ranges::find(mark_rows(), sip_message_record, &mark_row::record) - mark_rows().begin();
  return static_cast<std::uint16_t>(row);
}

/// Levels of the NR cell by its PCI alone.
constexpr std::uint8_t nr_snr_record = 137;

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

/// 0 if it is not known.
std::uint64_t whole_number_in(const record_values& values, const located_column& from) {
  return static_cast<std::uint64_t>(number_in(values, from).value_or(0));
}

std::string_view meaning_in(const record_values& values, const located_column& from) {
  return meaning_of(from.column, values.part(from.part).first, values.record());
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
  for (const auto* const schema : modem_stats::record_table()) plan_levels(*schema);
  for (std::size_t i = 0; i < mark_rows().size(); ++i) {
    const auto record = mark_rows()[i].record;
    if (record != sip_message_record) records_[record].mark = static_cast<int>(i);
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

void extraction_plan::plan_levels(const record_schema& schema) {
  auto& columns = records_[schema.id].levels;
  columns.rsrp = chains_of(schema, "rsrp_rx", "_dBm");
  columns.rsrq = chains_of(schema, "rsrq_rx", "_dB");
  columns.sinr = chains_of(schema, "snr_rx", "_dB");
  if (const auto all = find_column(schema, "rsrq_dB")) columns.rsrq.push_back(*all);
  if (schema.id == nr_snr_record) columns.pci = column_of(schema, "pci");
  if (!find_column(schema, "cell_identity")) return;
  records_[schema.id].broadcast = {
      .identity = column_of(schema, "cell_identity"),
      .tac = column_of(schema, "tac"),
      .band = column_of(schema, "band"),
      .bandwidth = column_of(schema, "dl_bandwidth_MHz"),
      .mcc = column_of(schema, "mcc"),
      .mnc = column_of(schema, "mnc"),
      .mnc_digits = column_of(schema, "num_mnc_digits"),
  };
}

cell_identity extraction_plan::identity_of(const broadcast_columns& columns,
                                           const record_values& values) {
  const auto text = meaning_in(values, columns.bandwidth);
  const auto number = number_in(values, columns.bandwidth);
  const int digits = whole_number_in(values, columns.mnc_digits) == 3 ? 3 : 2;
  return {.identity = whole_number_in(values, columns.identity),
          .tac = static_cast<std::uint32_t>(whole_number_in(values, columns.tac)),
          .band = static_cast<std::uint16_t>(whole_number_in(values, columns.band)),
          .bandwidth_mhz = number         ? *number
                           : text.empty() ? 0
                                          : std::stod(std::string(text)),
          .network = fmt::format("{:03}-{:0{}}", whole_number_in(values, columns.mcc),
                                 whole_number_in(values, columns.mnc), digits)};
}

void extraction_plan::extract_cell(const packet_source& source, const record_schema& schema,
                                   const record_data& data, const record_values& values,
                                   observations& to) const {
  const auto& plan = records_[schema.id];
  auto seen = told_cell(source.radio, schema, data);
  if (!seen && plan.levels.pci) {
    const auto pci = number_in(values, *plan.levels.pci);
    if (pci) {
      seen = {source.radio, radio_technology::nr, no_arfcn, static_cast<std::uint16_t>(*pci)};
    }
  }
  if (!seen) return;
  cell_observation one{
      .milliseconds = source.time / 1000,
      .seen = *seen,
      .levels = {best_of(values, plan.levels.rsrp), best_of(values, plan.levels.rsrq),
                 best_of(values, plan.levels.sinr)}};
  if (plan.broadcast) one.broadcast = identity_of(*plan.broadcast, values);
  to.cells.push_back(std::move(one));
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
  to.first_known = std::min(to.first_known, milliseconds);
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
  extract_cell(source, schema, data, values, to);
  if (plan.mark >= 0) {
    to.marks.push_back({milliseconds, source.radio, static_cast<std::uint16_t>(plan.mark),
                        record_text(schema, data)});
  }
}

void extract_sip(const packet_source& source, std::span<const std::uint8_t> message,
                 observations& to) {
  if (source.time < first_known_time) return;
  const std::string_view all(reinterpret_cast<const char*>(message.data()), message.size());
  std::string text(all.substr(0, std::min(all.find("\r\n\r\n"), most_sip_text)));
  std::erase(text, '\r');
  to.marks.push_back({source.time / 1000, source.radio, sip_text_row(), std::move(text)});
}

}  // namespace decode::page
