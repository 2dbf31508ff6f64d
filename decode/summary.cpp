#include "decode/summary.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <tuple>

#include "decode/output/time_text.h"
#include "modem_stats/record_table.h"

namespace decode {

using modem_stats::packet_kind;

namespace {

constexpr std::string_view outcome_names[] = {"decoded", "version not supported", "value not valid",
                                              "too many", "too short"};

auto key(const version_count& one) {
  return std::tuple(one.kind, one.id, one.version, one.sub_version);
}

std::string name_of(packet_kind kind, std::uint16_t id) {
  return kind == packet_kind::log ? fmt::format("0x{:04X}", id) : fmt::format("event {}", id);
}

/// NR versions are major and minor in the halves of a word.
std::string version_text(std::uint32_t version) {
  if (version <= 0xFF) return std::to_string(version);
  return fmt::format("{}.{}", version >> 16, version & 0xFFFF);
}

template <std::size_t N>
std::vector<std::uint32_t> in_order(const counter_table<N>& counts) {
  auto numbers = counts.used();
  std::ranges::sort(numbers);
  return numbers;
}

}  // namespace

void summary::count(packet_kind kind, std::uint16_t id,
                    const modem_stats::decoding_context& outcome) {
  const version_count now{kind, id, outcome.version, outcome.sub_version};
  auto found = std::ranges::find(versions, key(now), key);
  if (found == versions.end()) found = versions.insert(found, now);
  ++found->outcomes[static_cast<std::size_t>(outcome.rejected)];
}

void summary::add(const summary& other) {
  bytes += other.bytes;
  frames += other.frames;
  damaged_files += other.damaged_files;
  bad_crc += other.bad_crc;
  too_short += other.too_short;
  too_long += other.too_long;
  skipped_bytes += other.skipped_bytes;
  with_radio += other.with_radio;
  damaged_packets += other.damaged_packets;
  messages.add(other.messages);
  logs.add(other.logs);
  events.add(other.events);
  records.add(other.records);
  for (const auto& one : other.versions) {
    auto found = std::ranges::find(versions, key(one), key);
    if (found == versions.end()) {
      versions.push_back(one);
      continue;
    }
    std::ranges::transform(found->outcomes, one.outcomes, found->outcomes.begin(), std::plus());
  }
  first_time = std::min(first_time, other.first_time);
  last_time = std::max(last_time, other.last_time);
}

void summary::clear() {
  messages.clear();
  logs.clear();
  events.clear();
  records.clear();
  versions.clear();
  bytes = frames = damaged_files = bad_crc = too_short = too_long = skipped_bytes = with_radio =
      damaged_packets = 0;
  first_time = INT64_MAX;
  last_time = INT64_MIN;
}

bool summary::has_rejections() const {
  return damaged_files + bad_crc + too_short + too_long + skipped_bytes + damaged_packets > 0 ||
         std::ranges::any_of(versions, [](const version_count& one) {
           return std::ranges::any_of(std::next(one.outcomes.begin()), one.outcomes.end(),
                                      [](std::uint64_t count) { return count > 0; });
         });
}

void add_losses(summary& counts, const protocol::hdlc::frame_counts& lost) {
  counts.bad_crc += lost.bad_crc;
  counts.too_short += lost.too_short;
  counts.too_long += lost.too_long;
  counts.skipped_bytes += lost.skipped_bytes;
}

std::string to_text(const summary& all, double seconds) {
  std::string text;
  const auto out = std::back_inserter(text);
  const auto line = [&](std::string_view name, std::uint64_t count) {
    fmt::format_to(out, "{:<24} {}\n", name, count);
  };
  line("bytes", all.bytes);
  line("frames", all.frames);
  line("damaged files", all.damaged_files);
  line("bad CRC", all.bad_crc);
  line("too short", all.too_short);
  line("too long", all.too_long);
  line("bytes skipped", all.skipped_bytes);
  line("damaged packets", all.damaged_packets);
  line("with radio prefix", all.with_radio);
  if (all.first_time <= all.last_time) {
    fmt::format_to(out, "{:<24} {} to {}\n", "time", time_text(all.first_time),
                   time_text(all.last_time));
  }
  if (seconds > 0) {
    fmt::format_to(out, "{:<24} {:.1f} MB/s\n", "rate",
                   static_cast<double>(all.bytes) / seconds / 1e6);
  }
  for (const auto number : in_order(all.messages)) {
    line(fmt::format("message 0x{:02X}", number), all.messages[number]);
  }
  for (const auto number : in_order(all.logs)) {
    line(fmt::format("log 0x{:04X}", number), all.logs[number]);
  }
  for (const auto number : in_order(all.events)) {
    line(fmt::format("event {}", number), all.events[number]);
  }
  auto versions = all.versions;
  std::ranges::sort(versions, {}, key);
  for (const auto& one : versions) {
    fmt::format_to(out, "{} version {}", name_of(one.kind, one.id), version_text(one.version));
    if (one.sub_version != 0) {
      fmt::format_to(out, ", sub-packet version {}", version_text(one.sub_version));
    }
    std::string_view separator = ":";
    for (std::size_t i = 0; i < one.outcomes.size(); ++i) {
      if (one.outcomes[i] == 0) continue;
      fmt::format_to(out, "{} {} {}", separator, one.outcomes[i], outcome_names[i]);
      separator = ",";
    }
    text += '\n';
  }
  for (const auto number : in_order(all.records)) {
    const auto* const schema =
        modem_stats::find_record_schema(static_cast<modem_stats_data_id_e_type>(number));
    line(fmt::format("record {} {}", number, schema->name), all.records[number]);
  }
  return text;
}

}  // namespace decode
