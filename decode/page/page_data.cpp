#include "decode/page/page_data.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <span>

#include <nlohmann/json.hpp>

#include "decode/page/bucket_text.h"
#include "decode/page/page_template.h"
#include "decode/summary/names.h"

namespace decode::page {

namespace {

using nlohmann::ordered_json;

/// Two decimals are finer than any measurement of the modem.
double rounded(double value) {
  return std::round(value * 100) / 100;
}

ordered_json or_null(const std::optional<float>& value) {
  return value ? ordered_json(rounded(static_cast<double>(*value))) : ordered_json();
}

bool is_rate(series_kind kind) {
  return kind == series_kind::bytes || kind == series_kind::counted_bytes;
}

/// With null in place of the buckets, whose series are listed in the same order: as JSON values
/// they would take several times as much time and memory as their text.
ordered_json json_of_charts(const drive& all, std::vector<const series*>& listed) {
  const auto all_series = all.all_series();
  auto found = ordered_json::array();
  for (const auto& chart : charts()) {
    auto list = ordered_json::array();
    bool rate = false;
    for (const auto& [key, one] : all_series) {
      const auto& planned = all.plan().series()[key.first];
      if (planned.row->chart != chart.id) continue;
      rate = is_rate(planned.row->kind);
      list.push_back({{"label", planned.label},
                      {"radio", key.second},
                      {"width", one.width()},
                      {"buckets", nullptr}});
      listed.push_back(&one);
    }
    if (list.empty()) continue;
    found.push_back({{"title", chart.title},
                     {"unit", chart.unit},
                     {"steps", chart.steps},
                     {"rate", rate},
                     {"series", std::move(list)}});
  }
  return found;
}

ordered_json json_of(const distribution& values) {
  if (values.count() == 0) return {};
  return {{"count", values.count()},
          {"mean", rounded(values.mean())},
          {"p5", values.percentile(5)},
          {"p50", values.percentile(50)},
          {"p95", values.percentile(95)}};
}

ordered_json json_of(const visited_cell& one, const serving_cells& times) {
  const auto& all = times.counts().values();
  const auto time = std::ranges::find(all, one.which, &std::pair<cell, cell_counts>::first);
  const auto microseconds = time == all.end() ? 0 : time->second.microseconds;
  ordered_json json{{"radio", one.which.radio},
                    {"technology", technology_name(one.which.technology)},
                    {"pci", one.which.pci},
                    {"arfcn", one.which.arfcn},
                    {"seconds", static_cast<double>(microseconds) / 1e6},
                    {"visits", one.visits},
                    {"rsrp", json_of(one.rsrp)},
                    {"rsrq", json_of(one.rsrq)},
                    {"sinr", json_of(one.sinr)}};
  if (one.broadcast) {
    json["band"] = one.broadcast->band;
    if (one.broadcast->bandwidth_mhz > 0) json["bandwidth_MHz"] = one.broadcast->bandwidth_mhz;
    json["identity"] = one.broadcast->identity;
    json["tac"] = one.broadcast->tac;
    json["network"] = fmt::format("{:03}-{:0{}}", one.broadcast->mcc, one.broadcast->mnc,
                                  one.broadcast->mnc_digits);
  }
  return json;
}

void add_cells(ordered_json& to, const cell_history& history, const serving_cells& times) {
  auto cells = ordered_json::array();
  for (const auto& one : history.cells()) cells.push_back(json_of(one, times));
  auto changes = ordered_json::array();
  for (const auto& one : history.changes()) {
    changes.push_back({{"time", one.milliseconds},
                       {"radio", one.radio},
                       {"from", one.from},
                       {"to", one.to},
                       {"before", or_null(one.rsrp_before)},
                       {"after", or_null(one.rsrp_after)}});
  }
  to["cells"] = std::move(cells);
  to["cells_left_out"] = history.cells_left_out();
  to["changes"] = std::move(changes);
  to["changes_left_out"] = history.changes_left_out();
}

ordered_json json_of_states(const drive& all) {
  auto found = ordered_json::array();
  for (const auto& [key, band] : all.states()) {
    auto spans = ordered_json::array();
    for (const auto& span : band.kept()) spans.push_back({span.milliseconds, span.state});
    found.push_back({{"title", state_rows()[key.first].title},
                     {"radio", key.second},
                     {"spans", std::move(spans)}});
  }
  return found;
}

void add_marks(ordered_json& to, const mark_list& marks) {
  auto found = ordered_json::array();
  for (const auto& one : marks.kept()) {
    found.push_back({{"time", one.milliseconds},
                     {"radio", one.radio},
                     {"kind", mark_rows()[one.row].kind},
                     {"text", one.text}});
  }
  to["marks"] = std::move(found);
  to["marks_left_out"] = marks.left_out();
}

ordered_json json_of_losses(const summary& counts) {
  const std::pair<const char*, std::uint64_t> all[] = {
      {"damaged files", counts.damaged_files},
      {"bad CRC", counts.bad_crc},
      {"too short", counts.too_short},
      {"too long", counts.too_long},
      {"unfinished", counts.unfinished},
      {"bytes skipped", counts.skipped_bytes},
      {"damaged packets", counts.damaged_packets},
  };
  auto found = ordered_json::array();
  for (const auto& [what, count] : all) {
    if (count > 0) found.push_back({what, count});
  }
  return found;
}

ordered_json json_of_refused(const summary& counts) {
  auto found = ordered_json::array();
  for (const auto& [packet, versions] : counts.versions) {
    const auto add = [&, code = packet_code(packet.first, packet.second)](
                         const std::string& what, const outcome_counts& outcomes) {
      const auto refused =
          outcomes.by_outcome[static_cast<std::size_t>(outcome::version_not_supported)];
      if (refused > 0) {
        found.push_back(fmt::format("{} {}: {}", code, what, refused));
      }
    };
    for (const auto& [version, outcomes] : versions.values()) {
      std::string what = "version " + version_text(version.first);
      if (version.second) what += ", sub-packet version " + version_text(*version.second);
      add(what, outcomes);
    }
    add("other versions", versions.others());
  }
  return found;
}

void append_without_tags(std::string& to, std::string_view text) {
  for (const char c : text) {
    if (c == '<') {
      to += "\\u003c";
    } else {
      to += c;
    }
  }
}

/// Puts buckets where their nulls are. Texts do not look like these: their quotes are escaped.
std::string with_buckets(std::string_view text, std::span<const series* const> listed) {
  constexpr std::string_view key = R"("buckets":)";
  constexpr std::string_view null = "null";
  std::string filled;
  for (const auto* const one : listed) {
    const auto end = text.find(key) + key.size();
    append_without_tags(filled, text.substr(0, end));
    append_buckets(filled, one->buckets());
    text.remove_prefix(end + null.size());
  }
  append_without_tags(filled, text);
  return filled;
}

}  // namespace

std::string page_data(const page_head& head, const drive& all, const summary& counts) {
  const bool has_time = counts.first_time <= counts.last_time;
  // Without what was logged before the modem knew the time.
  const auto first = counts.first_time < first_known_time && all.first_known() != INT64_MAX
                         ? all.first_known()
                         : counts.first_time / 1000;
  ordered_json json{{"title", head.title},
                    {"inputs", head.inputs},
                    {"from", has_time ? ordered_json(first) : ordered_json()},
                    {"to", has_time ? ordered_json(counts.last_time / 1000) : ordered_json()},
                    {"packets", counts.frames},
                    {"records", counts.records.sum()},
                    {"without_time", all.without_time()},
                    {"losses", json_of_losses(counts)},
                    {"refused", json_of_refused(counts)}};
  auto radios = ordered_json::array();
  for (const auto& [radio, packets] : counts.radios.values()) radios.push_back(radio);
  json["radios"] = std::move(radios);
  add_cells(json, all.cells(), counts.cells);
  std::vector<const series*> listed;
  json["charts"] = json_of_charts(all, listed);
  json["states"] = json_of_states(all);
  add_marks(json, all.marks());

  constexpr auto replace = ordered_json::error_handler_t::replace;
  const auto text = json.dump(-1, ' ', false, replace);
  return with_buckets(text, listed);
}

std::string filled_page(std::string_view data) {
  constexpr std::string_view mark = "@data@";
  const auto all = page_template();
  const auto at = all.find(mark);
  std::string page;
  page.reserve(all.size() + data.size());
  return page.append(all.substr(0, at)).append(data).append(all.substr(at + mark.size()));
}

}  // namespace decode::page
