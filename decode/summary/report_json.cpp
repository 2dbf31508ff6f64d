#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "decode/output/time_text.h"
#include "decode/packet_name.h"
#include "decode/summary/names.h"
#include "decode/summary/report.h"

namespace decode {

using modem_stats::packet_kind;
using json = nlohmann::ordered_json;

namespace {

json name_or_null(std::string_view name) {
  return name.empty() ? json() : json(name);
}

json packet_counts(packet_kind kind, const std::vector<std::uint32_t>& ids, const auto& counts) {
  json all = json::array();
  for (const auto id : ids) {
    all.push_back({{"source", packet_code(kind, id)},
                   {"name", name_or_null(packet_name(kind, static_cast<std::uint16_t>(id)))},
                   {"packets", counts[id]}});
  }
  return all;
}

json outcomes(const outcome_counts& counts) {
  json all = json::object();
  for (std::size_t i = 0; i < counts.by_outcome.size(); ++i) {
    std::string name(outcome_names[i]);
    std::ranges::replace(name, ' ', '_');
    all[name] = counts.by_outcome.at(i);
  }
  return all;
}

json results(const summary& all) {
  json list = json::array();
  for (const auto& [packet, counts] : all.versions) {
    const auto add = [&, id = packet](const json& version, const json& sub_version,
                                      const outcome_counts& of) {
      list.push_back({{"source", packet_code(id.first, id.second)},
                      {"name", packet_name(id.first, id.second)},
                      {"version", version},
                      {"sub_packet_version", sub_version}});
      list.back().update(outcomes(of));
    };
    for (const auto& [version, of] : counts.values()) {
      add(version_text(version.first),
          version.second ? json(version_text(*version.second)) : json(), of);
    }
    if (counts.others().any()) add("others", nullptr, counts.others());
  }
  return list;
}

json cells(const summary& all) {
  json list = json::array();
  const auto counts = [](const cell_counts& of) {
    return json{{"seconds", static_cast<double>(of.microseconds) / 1e6}, {"records", of.records}};
  };
  for (const auto& [cell, of] : all.cells.counts().values()) {
    list.push_back({{"radio", cell.radio},
                    {"technology", technology_name(cell.technology)},
                    {"arfcn", cell.arfcn},
                    {"pci", cell.pci}});
    list.back().update(counts(of));
  }
  const auto& others = all.cells.counts().others();
  if (others.records > 0) {
    list.push_back(
        {{"radio", nullptr}, {"technology", nullptr}, {"arfcn", nullptr}, {"pci", nullptr}});
    list.back().update(counts(others));
  }
  return list;
}

}  // namespace

std::string to_json(const summary& all, double seconds) {
  const bool has_time = all.first_time <= all.last_time;
  json whole{
      {"bytes", all.bytes},
      {"frames", all.frames},
      {"damaged_files", all.damaged_files},
      {"bad_crc", all.bad_crc},
      {"too_short", all.too_short},
      {"too_long", all.too_long},
      {"unfinished", all.unfinished},
      {"bytes_skipped", all.skipped_bytes},
      {"damaged_packets", all.damaged_packets},
      {"incomplete_signalling", all.incomplete_signalling},
      {"with_radio_prefix", all.with_radio},
      {"first_time", has_time ? json(time_text(all.first_time)) : json()},
      {"last_time", has_time ? json(time_text(all.last_time)) : json()},
      {"duration_s", has_time ? json(static_cast<double>(all.duration) / 1e6) : json()},
      {"rate_MBps", seconds > 0 ? json(static_cast<double>(all.bytes) / seconds / 1e6) : json()}};
  auto& radios = whole["radios"] = json::array();
  for (const auto& [radio, count] : all.radios.values()) {
    radios.push_back({{"radio", radio}, {"packets", count.packets}});
  }
  if (all.radios.others().packets > 0) {
    radios.push_back({{"radio", nullptr}, {"packets", all.radios.others().packets}});
  }
  auto& messages = whole["messages"] = json::array();
  for (const auto code : all.messages.in_order()) {
    messages.push_back({{"code", fmt::format("0x{:02X}", code)},
                        {"name", name_or_null(message_name(code))},
                        {"packets", all.messages[code]}});
  }
  const auto logs = listed_logs(all);
  whole["logs"] = packet_counts(packet_kind::log, logs.codes, all.logs);
  whole["logs_of_other_codes"] = logs.other_packets;
  whole["events"] = packet_counts(packet_kind::event, all.events.in_order(), all.events);
  whole["results"] = results(all);
  auto& records = whole["records"] = json::array();
  for (const auto id : all.records.in_order()) {
    records.push_back({{"data_id", id}, {"name", record_name(id)}, {"records", all.records[id]}});
  }
  auto& messages_by_kind = whole["signalling"] = json::array();
  for (const auto index : all.signalling.in_order()) {
    messages_by_kind.push_back({{"name", signalling::name_of(signalling::kind_at(index))},
                                {"messages", all.signalling[index]}});
  }
  whole["cells"] = cells(all);
  auto& files = whole["files"] = json::array();
  for (const auto& file : all.files) {
    files.push_back({{"file", file.name},
                     {"bytes", file.bytes},
                     {"frames", file.frames},
                     {"records", file.records}});
  }
  return whole.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
}

}  // namespace decode
