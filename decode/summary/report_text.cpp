#include <fmt/format.h>

#include <iterator>
#include <string_view>

#include "decode/output/time_text.h"
#include "decode/packet_name.h"
#include "decode/summary/names.h"
#include "decode/summary/report.h"

namespace decode {

using modem_stats::packet_kind;

namespace {

constexpr double seconds_of(std::int64_t microseconds) {
  return static_cast<double>(microseconds) / 1e6;
}

class lines {
 public:
  void count(std::string_view name, std::uint64_t count) {
    fmt::format_to(out_, "{:<24} {}\n", name, count);
  }
  /// A code with its name, if it has one.
  void count(const std::string& code, std::string_view name, std::uint64_t number) {
    count(name.empty() ? code : fmt::format("{} {}", code, name), number);
  }
  template <typename... T>
  void text(std::string_view name, fmt::format_string<T...> format, T&&... values) {
    fmt::format_to(out_, "{:<24} ", name);
    fmt::format_to(out_, format, std::forward<T>(values)...);
    text_ += '\n';
  }

  [[nodiscard]] std::string take() { return std::move(text_); }

 private:
  std::string text_;
  std::back_insert_iterator<std::string> out_ = std::back_inserter(text_);
};

std::string outcomes_text(const outcome_counts& counts) {
  std::string text;
  for (std::size_t i = 0; i < counts.by_outcome.size(); ++i) {
    const auto count = counts.by_outcome.at(i);
    if (count == 0) continue;
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, outcome_names[i]);
  }
  return text;
}

void put_times(lines& out, const summary& all, double seconds) {
  if (all.first_time <= all.last_time) {
    out.text("time", "{} to {}", time_text(all.first_time), time_text(all.last_time));
    out.text("duration", "{:.3f} s", seconds_of(all.duration));
  }
  if (seconds > 0) out.text("rate", "{:.1f} MB/s", static_cast<double>(all.bytes) / seconds / 1e6);
}

void put_packets(lines& out, const summary& all) {
  for (const auto& [radio, count] : all.radios.values()) {
    out.count(fmt::format("radio {}", radio), count.packets);
  }
  if (all.radios.others().packets > 0) out.count("other radios", all.radios.others().packets);
  for (const auto code : all.messages.in_order()) {
    out.count(fmt::format("message 0x{:02X}", code), message_name(code), all.messages[code]);
  }
  const auto logs = listed_logs(all);
  for (const auto code : logs.codes) {
    out.count(fmt::format("log 0x{:04X}", code),
              packet_name(packet_kind::log, static_cast<std::uint16_t>(code)), all.logs[code]);
  }
  if (logs.other_packets > 0) out.count("other logs", logs.other_packets);
  for (const auto id : all.events.in_order()) {
    out.count(fmt::format("event {}", id),
              packet_name(packet_kind::event, static_cast<std::uint16_t>(id)), all.events[id]);
  }
}

void put_results(lines& out, const summary& all) {
  for (const auto& [packet, counts] : all.versions) {
    const auto name = fmt::format("{} {}", packet_code(packet.first, packet.second),
                                  packet_name(packet.first, packet.second));
    for (const auto& [version, results] : counts.values()) {
      out.text(fmt::format(
                   "{} version {}{}:", name, version_text(version.first),
                   version.second ? ", sub-packet version " + version_text(*version.second) : ""),
               "{}", outcomes_text(results));
    }
    if (counts.others().any()) {
      out.text(fmt::format("{} other versions:", name), "{}", outcomes_text(counts.others()));
    }
  }
  for (const auto index : all.signalling.in_order()) {
    out.count("signalling", signalling::name_of(signalling::kind_at(index)), all.signalling[index]);
  }
  for (const auto id : all.records.in_order()) {
    out.count(fmt::format("record {}", id), record_name(id), all.records[id]);
  }
}

void put_cells(lines& out, const summary& all) {
  const auto& cells = all.cells.counts();
  const auto put = [&](const std::string& name, const cell_counts& counts) {
    out.text(name, "{:.3f} s, {} records", seconds_of(counts.microseconds), counts.records);
  };
  for (const auto& [cell, counts] : cells.values()) {
    put(fmt::format("cell {} {} PCI {} radio {}:", technology_name(cell.technology), cell.arfcn,
                    cell.pci, cell.radio),
        counts);
  }
  if (cells.others().records > 0) put("other cells:", cells.others());
}

void put_files(lines& out, const summary& all) {
  if (all.files.size() < 2) return;
  for (const auto& file : all.files) {
    out.text(fmt::format("file {}:", file.name), "{} bytes, {} frames, {} records", file.bytes,
             file.frames, file.records);
  }
}

}  // namespace

std::string to_text(const summary& all, double seconds) {
  lines out;
  for (const auto& row : count_rows) out.count(row.name, all.*row.count);
  put_times(out, all, seconds);
  put_packets(out, all);
  put_results(out, all);
  put_cells(out, all);
  put_files(out, all);
  return out.take();
}

}  // namespace decode
