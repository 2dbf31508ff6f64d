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

value_reader column_of(const record_schema& schema, std::string_view name) {
  if (const auto found = find_column(schema, name)) return *found;
  throw std::logic_error(fmt::format("record {} has no column {}", schema.name, name));
}

std::string with_chain(std::string_view text, unsigned chain) {
  std::string result(text);
  std::ranges::replace(result, '#', static_cast<char>('0' + chain));
  return result;
}

/// 0 if it is not known.
std::uint64_t whole_number_in(const record_values& values, const value_reader& from) {
  return static_cast<std::uint64_t>(values.number(from).value_or(0));
}

}  // namespace

extraction_plan::extraction_plan() {
  for (const auto& row : series_rows()) plan_series(row);
  for (std::size_t i = 0; i < state_rows().size(); ++i) {
    const auto& row = state_rows()[i];
    records_[row.record].states.push_back(
        {static_cast<std::uint16_t>(i), column_of(schema_of(row.record), row.column)});
  }
  for (const auto* const schema : modem_stats::record_table()) plan_cell(*schema);
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
    std::optional<value_reader> of;
    if (row.of_column != nullptr) of = column_of(schema, row.of_column);
    records_[row.record].numbers.push_back({.from = *column,
                                            .series = static_cast<std::uint16_t>(series_.size()),
                                            .kind = row.kind,
                                            .offset = static_cast<double>(row.offset),
                                            .of = of});
    series_.push_back({&row, with_chain(row.label, chain)});
  }
}

void extraction_plan::plan_cell(const record_schema& schema) {
  auto& plan = records_[schema.id];
  plan.tells_cell = tells_cell(schema);
  if (schema.id == nr_snr_record) plan.pci = column_of(schema, "pci");
  if (!plan.tells_cell && !plan.pci) return;
  for (unsigned chain = 0; chain < num_chains; ++chain) {
    plan_level(schema, with_chain("rsrp_rx#_dBm", chain), cell_level::rsrp);
    plan_level(schema, with_chain("rsrq_rx#_dB", chain), cell_level::rsrq);
    plan_level(schema, with_chain("snr_rx#_dB", chain), cell_level::sinr);
  }
  plan_level(schema, "rsrq_dB", cell_level::rsrq);
  if (!find_column(schema, "cell_identity")) return;
  plan.broadcast = {
      .identity = column_of(schema, "cell_identity"),
      .tac = column_of(schema, "tac"),
      .band = column_of(schema, "band"),
      .bandwidth = column_of(schema, "dl_bandwidth_MHz"),
      .mcc = column_of(schema, "mcc"),
      .mnc = column_of(schema, "mnc"),
      .mnc_digits = column_of(schema, "num_mnc_digits"),
  };
}

/// A level that the record has may be in a chart as well.
void extraction_plan::plan_level(const record_schema& schema, const std::string& column,
                                 cell_level level) {
  const auto from = find_column(schema, column);
  if (!from) return;
  auto& numbers = records_[schema.id].numbers;
  const auto charted = std::ranges::find_if(
      numbers, [&](const number_column& one) { return one.from.column() == column; });
  if (charted != numbers.end()) {
    charted->level = level;
  } else {
    numbers.push_back({.from = *from, .level = level});
  }
}

cell_identity extraction_plan::identity_of(const broadcast_columns& columns,
                                           const record_values& values) {
  const auto text = values.meaning(columns.bandwidth);
  const auto number = values.number(columns.bandwidth);
  const std::uint8_t digits = whole_number_in(values, columns.mnc_digits) == 3 ? 3 : 2;
  return {.identity = whole_number_in(values, columns.identity),
          .tac = static_cast<std::uint32_t>(whole_number_in(values, columns.tac)),
          .band = static_cast<std::uint16_t>(whole_number_in(values, columns.band)),
          .bandwidth_mhz = number         ? *number
                           : text.empty() ? 0
                                          : std::stod(std::string(text)),
          .mcc = static_cast<std::uint16_t>(whole_number_in(values, columns.mcc)),
          .mnc = static_cast<std::uint16_t>(whole_number_in(values, columns.mnc)),
          .mnc_digits = digits};
}

std::optional<cell> extraction_plan::cell_of(const record_plan& plan, const packet_source& source,
                                             const record_schema& schema, const record_data& data,
                                             const record_values& values) {
  if (plan.tells_cell) return told_cell(source.radio, schema, data);
  if (!plan.pci) return {};
  const auto pci = values.number(*plan.pci);
  if (!pci) return {};
  return cell{source.radio, radio_technology::nr, no_arfcn, static_cast<std::uint16_t>(*pci)};
}

/// The strongest antenna counts, as in the levels that a phone reports.
void extraction_plan::add_level(cell_levels& to, cell_level level, double value) {
  const auto keep_best = [real = static_cast<float>(value)](std::optional<float>& best) {
    best = std::max(best.value_or(real), real);
  };
  switch (level) {
    case cell_level::none:
      return;
    case cell_level::rsrp:
      return keep_best(to.rsrp);
    case cell_level::rsrq:
      return keep_best(to.rsrq);
    case cell_level::sinr:
      return keep_best(to.sinr);
  }
}

std::optional<double> extraction_plan::value_of(const number_column& column,
                                                const std::uint8_t* part,
                                                const std::uint8_t* record) {
  switch (column.kind) {
    case series_kind::interval:
      return 0;
    case series_kind::modulation_bits: {
      const auto* const found =
          std::ranges::find(modulations, column.from.meaning(part, record), &modulation_row::name);
      if (found == std::end(modulations)) return {};
      return found->bits;
    }
    case series_kind::failures: {
      const auto value = column.from.number(part);
      if (!value) return {};
      return *value == 0 ? 100 : 0;
    }
    default:
      const auto value = column.from.number(part);
      if (!value) return {};
      return *value + column.offset;
  }
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
  cell_levels levels;
  auto* const samples = plan.numbers.empty() ? nullptr : to.samples.find_or_add(source.radio);
  if (samples != nullptr) samples->resize(series_.size());
  for (const auto& one : plan.numbers) {
    const auto& part = values.part(one.from.part());
    const std::uint8_t* at = part.first;
    for (std::size_t i = 0; i < part.count; ++i, at += part.size) {
      const auto value = value_of(one, at, values.record());
      if (!value) continue;
      add_level(levels, one.level, *value);
      if (one.series == no_series || samples == nullptr) continue;
      const auto of = one.of ? values.number(*one.of) : std::nullopt;
      (*samples)[one.series].push_back({milliseconds, *value, of.value_or(0)});
    }
  }
  for (const auto& one : plan.states) {
    const auto state = values.meaning(one.value);
    if (!state.empty()) to.states.push_back({milliseconds, source.radio, one.row, state});
  }
  if (const auto seen = cell_of(plan, source, schema, data, values)) {
    to.cells.push_back({.milliseconds = milliseconds, .seen = *seen, .levels = levels});
    if (plan.broadcast) to.cells.back().broadcast = identity_of(*plan.broadcast, values);
  }
  if (plan.mark >= 0) {
    to.marks.push_back({milliseconds, source.radio, static_cast<std::uint16_t>(plan.mark),
                        to.with_texts ? record_text(schema, data) : std::string()});
  }
}

void extract_sip(const packet_source& source, std::span<const std::uint8_t> message,
                 observations& to) {
  if (source.time < first_known_time) return;
  const std::string_view all(reinterpret_cast<const char*>(message.data()), message.size());
  std::string text;
  if (to.with_texts) text = all.substr(0, std::min(all.find("\r\n\r\n"), most_sip_text));
  std::erase(text, '\r');
  to.marks.push_back({source.time / 1000, source.radio, sip_text_row(), std::move(text)});
}

}  // namespace decode::page
