#include <fmt/format.h>

#include <iterator>
#include <utility>

#include <nlohmann/json.hpp>

#include "decode/output/identity.h"
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
    all[json_name(outcome_names[i])] = counts.by_outcome.at(i);
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
    if (counts.others().any()) add(other_versions, nullptr, counts.others());
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

/// Puts the files at the end of the object. There may be millions.
void put_files(std::string& object, const std::vector<file_summary>& files) {
  constexpr std::size_t rest_of_row = 80;
  std::size_t size = object.size() + rest_of_row;
  for (const auto& file : files) size += file.name.size() + rest_of_row;
  object.reserve(size);
  object.pop_back();
  object += R"(,"files":[)";
  const char* separator = "";
  for (const auto& file : files) {
    fmt::format_to(
        std::back_inserter(object), R"({}{{"file":"{}","bytes":{},"frames":{},"records":{}}})",
        std::exchange(separator, ","), json_text(file.name), file.bytes, file.frames, file.records);
  }
  object += "]}\n";
}

}  // namespace

std::string to_json(const summary& all, double seconds) {
  const bool has_time = all.first_time <= all.last_time;
  json whole = json::object();
  for (const auto& row : count_rows) whole[json_name(row.name)] = all.*row.count;
  whole["first_time"] = has_time ? json(time_text(all.first_time)) : json();
  whole["last_time"] = has_time ? json(time_text(all.last_time)) : json();
  whole["duration_s"] = has_time ? json(static_cast<double>(all.duration) / 1e6) : json();
  whole["rate_MBps"] = seconds > 0 ? json(static_cast<double>(all.bytes) / seconds / 1e6) : json();
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
  auto text = whole.dump(-1, ' ', false, json::error_handler_t::replace);
  put_files(text, all.files);
  return text;
}

}  // namespace decode
