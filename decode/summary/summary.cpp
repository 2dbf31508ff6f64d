#include "decode/summary/summary.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace decode {

using modem_stats::packet_kind;
using modem_stats::rejection;

namespace {

outcome outcome_of(const modem_stats::packet_outcome& result, bool made_records) {
  switch (result.rejected) {
    case rejection::version:
      return outcome::version_not_supported;
    case rejection::value:
      return outcome::value_not_valid;
    case rejection::count:
      return outcome::too_many;
    case rejection::length:
      return outcome::too_short;
    case rejection::none:
      break;
  }
  return made_records ? outcome::decoded : outcome::no_record;
}

}  // namespace

void outcome_counts::add(const outcome_counts& other) {
  std::ranges::transform(by_outcome, other.by_outcome, by_outcome.begin(), std::plus());
}

bool outcome_counts::any() const {
  return std::ranges::any_of(by_outcome, [](std::uint64_t count) { return count > 0; });
}

bool outcome_counts::has_rejections() const {
  return std::any_of(
      std::next(by_outcome.begin(), static_cast<int>(outcome::version_not_supported)),
      by_outcome.end(), [](std::uint64_t count) { return count > 0; });
}

void summary::packet(std::uint32_t radio, std::int64_t time) {
  ++radios.at(radio).packets;
  first_time = std::min(first_time, time);
  last_time = std::max(last_time, time);
}

void summary::count(packet_kind kind, std::uint16_t id, const modem_stats::packet_outcome& result,
                    bool made_records) {
  auto& counts = versions[{kind, id}].at({result.version, result.sub_version});
  ++counts.by_outcome.at(static_cast<std::size_t>(outcome_of(result, made_records)));
}

void summary::add(const summary& next) {
  for (const auto& row : count_rows) this->*row.count += next.*row.count;
  messages.add(next.messages);
  logs.add(next.logs);
  other_logs += next.other_logs;
  events.add(next.events);
  records.add(next.records);
  signalling.add(next.signalling);
  for (const auto& [packet, counts] : next.versions) versions[packet].add(counts);
  radios.add(next.radios);
  cells.add(next.cells);
  first_time = std::min(first_time, next.first_time);
  last_time = std::max(last_time, next.last_time);
  duration += next.duration;
  files.insert(files.end(), next.files.begin(), next.files.end());
}

void summary::end_capture() {
  cells.end_capture();
  if (first_time <= last_time) duration = last_time - first_time;
}

void summary::clear() {
  for (const auto& row : count_rows) this->*row.count = 0;
  messages.clear();
  logs.clear();
  other_logs = 0;
  events.clear();
  records.clear();
  signalling.clear();
  versions.clear();
  radios = {};
  cells = {};
  first_time = INT64_MAX;
  last_time = INT64_MIN;
  duration = 0;
  files.clear();
}

bool summary::has_rejections() const {
  return damaged_files + bad_crc + too_short + too_long + unfinished + skipped_bytes +
                 damaged_packets + incomplete_signalling >
             0 ||
         std::ranges::any_of(versions, [](const auto& packet) {
           const version_counts& counts = packet.second;
           return counts.others().has_rejections() ||
                  std::ranges::any_of(counts.values(),
                                      [](const auto& one) { return one.second.has_rejections(); });
         });
}

void add_losses(summary& counts, const protocol::hdlc::frame_counts& lost) {
  counts.bad_crc += lost.bad_crc;
  counts.too_short += lost.too_short;
  counts.too_long += lost.too_long;
  counts.unfinished += lost.unfinished;
  counts.skipped_bytes += lost.skipped_bytes;
}

}  // namespace decode
