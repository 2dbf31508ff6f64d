// Counts of what was found in captures and of the results of decoding it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "decode/signalling/kind.h"
#include "decode/summary/cells.h"
#include "decode/summary/tables.h"
#include "modem_stats/packet.h"
#include "protocol/hdlc.h"

namespace decode {

enum class outcome : std::uint8_t {
  decoded,    // to at least one record
  no_record,  // there was nothing to record
  version_not_supported,
  value_not_valid,
  too_many,
  too_short,
};
inline constexpr std::string_view outcome_names[] = {
    "decoded", "no record", "version not supported", "value not valid", "too many", "too short"};

/// Packets by result of decoding.
struct outcome_counts {
  std::array<std::uint64_t, std::size(outcome_names)> by_outcome{};

  void add(const outcome_counts& other);
  [[nodiscard]] bool any() const;
  [[nodiscard]] bool has_rejections() const;
};

/// Of a packet, and of its sub-packet if it has one.
using packet_version = std::pair<std::uint32_t, std::optional<std::uint32_t>>;

/// Packets of one log or event. Garbage may look like any number of versions.
using version_counts = lowest_keys<packet_version, outcome_counts, 16>;

struct packet_count {
  std::uint64_t packets = 0;

  void add(const packet_count& other) { packets += other.packets; }
};

struct file_summary {
  std::string name;
  std::uint64_t bytes = 0;
  std::uint64_t frames = 0;
  std::uint64_t records = 0;
};

struct summary {
  std::uint64_t bytes = 0;  // read from files, before unpacking, or received
  std::uint64_t frames = 0;
  std::uint64_t damaged_files = 0;  // could not be read or unpacked completely
  std::uint64_t bad_crc = 0;
  std::uint64_t too_short = 0;
  std::uint64_t too_long = 0;
  std::uint64_t unfinished = 0;  // captures that end within a frame
  std::uint64_t skipped_bytes = 0;
  std::uint64_t with_radio = 0;       // packets with a radio prefix
  std::uint64_t damaged_packets = 0;  // good frames whose log or event lengths are wrong
  counter_table<256> messages;        // frames by first byte, after any radio prefix
  counter_table<65536> logs;
  std::uint64_t other_logs = 0;  // from summaries in which their codes have no lines
  counter_table<4096> events;
  counter_table<256> records;                        // by data id
  counter_table<signalling::most_kinds> signalling;  // messages by kind
  std::uint64_t incomplete_signalling = 0;           // messages of which parts are missing
  std::map<std::pair<modem_stats::packet_kind, std::uint16_t>, version_counts> versions;
  lowest_keys<std::uint32_t, packet_count, 64> radios;  // logs and events by radio
  serving_cells cells;
  std::int64_t first_time = INT64_MAX;  // microseconds, Unix
  std::int64_t last_time = INT64_MIN;
  std::int64_t duration = 0;  // of all captures together
  std::vector<file_summary> files;

  /// A log or an event was found.
  void packet(std::uint32_t radio, std::int64_t time);
  /// It was decoded.
  void count(modem_stats::packet_kind kind, std::uint16_t id,
             const modem_stats::packet_outcome& result, bool made_records);
  /// Adds what comes next in the same capture, or after end_capture().
  void add(const summary& next);
  /// The capture, or a connection of the live session, ends. Nothing else has been counted.
  void end_capture();
  void clear();

  /// Whether something was lost or rejected.
  [[nodiscard]] bool has_rejections() const;
};

/// The counts that are only added up, with their names in reports.
struct count_row {
  std::string_view name;
  std::uint64_t summary::*count;
};
inline constexpr count_row count_rows[] = {
    {"bytes", &summary::bytes},
    {"frames", &summary::frames},
    {"damaged files", &summary::damaged_files},
    {"bad CRC", &summary::bad_crc},
    {"too short", &summary::too_short},
    {"too long", &summary::too_long},
    {"unfinished", &summary::unfinished},
    {"bytes skipped", &summary::skipped_bytes},
    {"damaged packets", &summary::damaged_packets},
    {"incomplete signalling", &summary::incomplete_signalling},
    {"with radio prefix", &summary::with_radio},
};

/// Adds the counts of a deframer.
void add_losses(summary& counts, const protocol::hdlc::frame_counts& lost);

}  // namespace decode
