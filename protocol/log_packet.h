// DIAG log packets (code 10), event reports (code 60) and the multi-radio wrapper (code 98).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "protocol/bytes.h"

namespace protocol::diag {

constexpr std::uint8_t log_code = 0x10;
constexpr std::uint8_t event_code = 0x60;
constexpr std::uint8_t radio_code = 0x98;

/// Bits 16-63 count units of 1.25 ms since 1980-01-06 UTC, bits 0-15 count 1/49152 of a unit.
using time_stamp = std::uint64_t;
[[nodiscard]] std::int64_t to_unix_microseconds(time_stamp time);
[[nodiscard]] time_stamp from_unix_microseconds(std::int64_t microseconds);

/// A packet without its 98 wrapper. Radios count from 1; a packet without a wrapper, or with 0 or
/// FFFFFFFF in it, is radio 1's. No value when the wrapper is empty.
struct radio_packet {
  std::uint32_t radio = 1;
  byte_view packet;
};
[[nodiscard]] std::optional<radio_packet> unwrap_radio(byte_view packet);

/// The inner log packet: u16 length (12 + payload), u16 code, u64 time, payload.
struct log_packet {
  std::uint16_t code = 0;
  time_stamp time = 0;
  byte_view payload;
};
/// Parses a whole packet, which begins with 10. No value when its lengths contradict its size.
[[nodiscard]] std::optional<log_packet> parse_log(byte_view packet);
/// Parses an inner log packet.
[[nodiscard]] std::optional<log_packet> parse_inner_log(byte_view inner);
[[nodiscard]] std::vector<std::uint8_t> build_log(const log_packet& log);

struct event {
  std::uint16_t id = 0;  // 0..4095
  time_stamp time = 0;
  byte_view payload;
};

/// Walks the events of one report (a whole packet, which begins with 60). Truncated times are
/// completed from the last full time before them.
class event_reader {
 public:
  explicit event_reader(byte_view report);
  [[nodiscard]] std::optional<event> next();
  /// The report ends inside an event, or its length contradicts its size.
  [[nodiscard]] bool damaged() const { return damaged_; }

 private:
  byte_view rest_;
  std::optional<time_stamp> last_full_;
  bool damaged_ = false;
};
/// A report of a single event with a full time. The payload's length (at most 255 bytes) selects
/// form 0, 1, 2 or 3.
[[nodiscard]] std::vector<std::uint8_t> build_event_report(const event& one);

}  // namespace protocol::diag
