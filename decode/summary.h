// Counts of what was found in captures and of the results of decoding it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "decode/signalling/kind.h"
#include "modem_stats/packet.h"
#include "protocol/hdlc.h"

namespace decode {

/// Counts per number below N, of which only a few occur.
template <std::size_t N>
class counter_table {
 public:
  counter_table() : counts_(N) {}

  void add(std::size_t number, std::uint64_t count = 1) {
    if (counts_[number] == 0) used_.push_back(static_cast<std::uint32_t>(number));
    counts_[number] += count;
  }
  void add(const counter_table& other) {
    for (const auto number : other.used_) add(number, other.counts_[number]);
  }
  void clear() {
    for (const auto number : used_) counts_[number] = 0;
    used_.clear();
  }
  [[nodiscard]] std::uint64_t operator[](std::size_t number) const { return counts_[number]; }
  /// The numbers in the order of their first occurrence.
  [[nodiscard]] const std::vector<std::uint32_t>& used() const { return used_; }

 private:
  std::vector<std::uint64_t> counts_;
  std::vector<std::uint32_t> used_;
};

/// Packets by result of decoding.
struct outcome_counts {
  std::array<std::uint64_t, 5> by_rejection{};  // index: modem_stats::rejection

  void add(const outcome_counts& other);
  [[nodiscard]] bool any() const;
  [[nodiscard]] bool has_rejections() const;
};

/// Packets of one log or event by version and sub-packet version. Garbage may look like any number
/// of versions, so only the lowest ones have a row; which ones does not depend on their order.
class version_counts {
 public:
  static constexpr std::size_t most_rows = 16;

  struct row {
    std::uint32_t version;
    std::uint32_t sub_version;
    outcome_counts counts;
  };

  void add(const row& one);
  void add(const version_counts& other);

  /// In the order of versions.
  [[nodiscard]] const std::vector<row>& rows() const { return rows_; }
  [[nodiscard]] const outcome_counts& others() const { return others_; }

 private:
  std::vector<row> rows_;
  outcome_counts others_;
};

struct summary {
  std::uint64_t bytes = 0;  // read from files, before unpacking, or received
  std::uint64_t frames = 0;
  std::uint64_t damaged_files = 0;  // could not be read or unpacked completely
  std::uint64_t bad_crc = 0;
  std::uint64_t too_short = 0;
  std::uint64_t too_long = 0;
  std::uint64_t skipped_bytes = 0;
  std::uint64_t with_radio = 0;       // packets with a radio prefix
  std::uint64_t damaged_packets = 0;  // good frames whose log or event lengths are wrong
  counter_table<256> messages;        // frames by first byte, after any radio prefix
  counter_table<65536> logs;
  counter_table<4096> events;
  counter_table<256> records;                        // by data id
  counter_table<signalling::most_kinds> signalling;  // messages by kind
  std::uint64_t incomplete_signalling = 0;           // messages of which parts are missing
  std::map<std::pair<modem_stats::packet_kind, std::uint16_t>, version_counts> versions;
  std::int64_t first_time = INT64_MAX;  // microseconds, Unix
  std::int64_t last_time = INT64_MIN;

  void count(modem_stats::packet_kind kind, std::uint16_t id,
             const modem_stats::packet_outcome& outcome);
  void add(const summary& other);
  void clear();

  /// Whether something was lost or rejected.
  [[nodiscard]] bool has_rejections() const;
};

/// Adds the counts of a deframer.
void add_losses(summary& counts, const protocol::hdlc::frame_counts& lost);

/// The summary as text for the user. `seconds`: how long the run took.
[[nodiscard]] std::string to_text(const summary& all, double seconds);

}  // namespace decode
