#include "decode/summary.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "decode/output/time_text.h"
#include "modem_stats/record_table.h"

namespace decode {

using modem_stats::packet_kind;

namespace {

constexpr std::string_view outcome_names[] = {"decoded", "version not supported", "value not valid",
                                              "too many", "too short"};

auto key(const version_counts::row& one) {
  return std::pair(one.version, one.sub_version);
}

std::string name_of(packet_kind kind, std::uint16_t id) {
  return kind == packet_kind::log ? fmt::format("0x{:04X}", id) : fmt::format("event {}", id);
}

/// NR versions hold major and minor number in the halves of a word.
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

std::string outcomes_text(const outcome_counts& counts) {
  std::string text;
  for (std::size_t i = 0; i < counts.by_rejection.size(); ++i) {
    const auto count = counts.by_rejection.at(i);
    if (count == 0) continue;
    text += fmt::format("{} {} {}", text.empty() ? ":" : ",", count, outcome_names[i]);
  }
  return text;
}

}  // namespace

void outcome_counts::add(const outcome_counts& other) {
  std::ranges::transform(by_rejection, other.by_rejection, by_rejection.begin(), std::plus());
}

bool outcome_counts::any() const {
  return has_rejections() || by_rejection[0] > 0;
}

bool outcome_counts::has_rejections() const {
  return std::any_of(std::next(by_rejection.begin()), by_rejection.end(),
                     [](std::uint64_t count) { return count > 0; });
}

void version_counts::add(const row& one) {
  const auto found = std::ranges::lower_bound(rows_, key(one), {}, key);
  if (found != rows_.end() && key(*found) == key(one)) return found->counts.add(one.counts);
  rows_.insert(found, one);
  if (rows_.size() <= most_rows) return;
  others_.add(rows_.back().counts);
  rows_.pop_back();
}

void version_counts::add(const version_counts& other) {
  for (const auto& one : other.rows_) add(one);
  others_.add(other.others_);
}

void summary::count(packet_kind kind, std::uint16_t id,
                    const modem_stats::packet_outcome& outcome) {
  version_counts::row now{outcome.version, outcome.sub_version, {}};
  now.counts.by_rejection.at(static_cast<std::size_t>(outcome.rejected)) = 1;
  versions[{kind, id}].add(now);
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
  signalling.add(other.signalling);
  incomplete_signalling += other.incomplete_signalling;
  for (const auto& [packet, counts] : other.versions) versions[packet].add(counts);
  first_time = std::min(first_time, other.first_time);
  last_time = std::max(last_time, other.last_time);
}

void summary::clear() {
  messages.clear();
  logs.clear();
  events.clear();
  records.clear();
  signalling.clear();
  versions.clear();
  bytes = frames = damaged_files = bad_crc = too_short = too_long = skipped_bytes = with_radio =
      damaged_packets = incomplete_signalling = 0;
  first_time = INT64_MAX;
  last_time = INT64_MIN;
}

bool summary::has_rejections() const {
  return damaged_files + bad_crc + too_short + too_long + skipped_bytes + damaged_packets +
                 incomplete_signalling >
             0 ||
         std::ranges::any_of(versions, [](const auto& packet) {
           const version_counts& counts = packet.second;
           return counts.others().has_rejections() ||
                  std::ranges::any_of(counts.rows(), [](const version_counts::row& one) {
                    return one.counts.has_rejections();
                  });
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
  for (const auto& [packet, counts] : all.versions) {
    const auto name = name_of(packet.first, packet.second);
    for (const auto& one : counts.rows()) {
      fmt::format_to(out, "{} version {}", name, version_text(one.version));
      if (one.sub_version != 0) {
        fmt::format_to(out, ", sub-packet version {}", version_text(one.sub_version));
      }
      fmt::format_to(out, "{}\n", outcomes_text(one.counts));
    }
    if (counts.others().any()) {
      fmt::format_to(out, "{} other versions{}\n", name, outcomes_text(counts.others()));
    }
  }
  for (const auto number : in_order(all.signalling)) {
    line(fmt::format("signalling {}", signalling::name_of(signalling::kind_at(number))),
         all.signalling[number]);
  }
  if (all.incomplete_signalling > 0) line("incomplete signalling", all.incomplete_signalling);
  for (const auto number : in_order(all.records)) {
    const auto* const schema =
        modem_stats::find_record_schema(static_cast<modem_stats_data_id_e_type>(number));
    line(fmt::format("record {} {}", number, schema->name), all.records[number]);
  }
  return text;
}

}  // namespace decode
