#include "decode/page/page_json.h"

#include <fmt/format.h>

#include <cmath>

#include "decode/page/bucket_text.h"
#include "decode/summary/names.h"

namespace decode::page {

using nlohmann::ordered_json;

namespace {

/// Two decimals are finer than any measurement of the modem.
double rounded(double value) {
  return std::round(value * 100) / 100;
}

ordered_json or_null(const std::optional<float>& value) {
  return value ? ordered_json(rounded(static_cast<double>(*value))) : ordered_json();
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

ordered_json json_of(const distribution& values) {
  if (values.count() == 0) return {};
  return {{"count", values.count()},
          {"mean", rounded(values.mean())},
          {"p5", values.percentile(5)},
          {"p50", values.percentile(50)},
          {"p95", values.percentile(95)}};
}

}  // namespace

ordered_json json_of(const visited_cell& one, const run_counts& counts) {
  ordered_json json{{"radio", one.which.radio},
                    {"technology", technology_name(one.which.technology)},
                    {"pci", one.which.pci},
                    {"arfcn", one.which.arfcn},
                    {"seconds", counts.seconds_in(one.which)},
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

ordered_json json_of(const cell_change& one) {
  return {{"time", one.milliseconds},
          {"radio", one.radio},
          {"from", one.from},
          {"to", one.to},
          {"before", or_null(one.rsrp_before)},
          {"after", or_null(one.rsrp_after)}};
}

ordered_json json_of(const state_span& one) {
  return ordered_json::array({one.milliseconds, one.state});
}

ordered_json json_of(const mark& one) {
  return {{"time", one.milliseconds},
          {"radio", one.radio},
          {"kind", mark_rows()[one.row].kind},
          {"text", one.text}};
}

void add_counts(ordered_json& to, const run_counts& counts, std::uint64_t without_time) {
  to["packets"] = counts.packets;
  to["records"] = counts.records;
  to["without_time"] = without_time;
  to["losses"] = ordered_json::array();
  for (const auto& [what, count] : counts.losses) to["losses"].push_back({what, count});
  to["refused"] = counts.refused;
  to["radios"] = counts.radios;
}

/// Texts do not look like the places of buckets: their quotes are escaped.
std::string text_of(const bucketed_json& all) {
  constexpr std::string_view key = R"("buckets":)";
  constexpr std::string_view null = "null";
  const auto whole = all.json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
  std::string_view rest = whole;
  std::string filled;
  for (const auto& buckets : all.buckets) {
    const auto end = rest.find(key) + key.size();
    append_without_tags(filled, rest.substr(0, end));
    append_buckets(filled, buckets);
    rest.remove_prefix(end + null.size());
  }
  append_without_tags(filled, rest);
  return filled;
}

}  // namespace decode::page
