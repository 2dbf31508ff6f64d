#include "decode/page/page_json.h"

#include <algorithm>
#include <cmath>
#include <span>

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

ordered_json flat(std::span<const bucket> buckets) {
  auto all = ordered_json::array();
  std::int64_t index = 0;
  for (const auto& bucket : buckets) {
    all.push_back(bucket.index - index);
    all.push_back(bucket.count);
    all.push_back(rounded(bucket.mean()));
    if (bucket.count > 1) {
      all.push_back(rounded(static_cast<double>(bucket.least)));
      all.push_back(rounded(static_cast<double>(bucket.greatest)));
    }
    index = bucket.index;
  }
  return all;
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

ordered_json json_of(const series& one) {
  return flat(one.buckets());
}

ordered_json json_of(const series& one, std::int64_t from) {
  const auto first =
      std::ranges::lower_bound(one.buckets(), from / one.width(), {}, &bucket::index);
  return flat({first, one.buckets().end()});
}

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
    json["network"] = one.broadcast->network;
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

std::string text_of(const ordered_json& json) {
  constexpr auto replace = ordered_json::error_handler_t::replace;
  const auto text = json.dump(-1, ' ', false, replace);
  std::string safe;
  safe.reserve(text.size());
  for (const char c : text) {
    if (c == '<') {
      safe += "\\u003c";
    } else {
      safe += c;
    }
  }
  return safe;
}

}  // namespace decode::page
