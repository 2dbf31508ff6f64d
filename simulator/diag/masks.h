// What one DIAG client wants to be sent.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "protocol/bytes.h"

namespace sim::diag {

using protocol::byte_view;

constexpr std::size_t equipment_ids = 16;
constexpr std::uint32_t items_per_equipment = 0x1000;
constexpr std::uint32_t event_ids = 0x1000;

/// Mask bits announced for each equipment id; 0: it has no logs.
constexpr std::array<std::uint32_t, equipment_ids> log_items = {
    0, 0xFD4, 0, 0, 0x921, 0xE01, 0, 0xB57, 0, 0, 0x392, 0xFFF, 0, 0x207, 0, 0};

/// Message subsystems, the first and the last of each range.
struct message_range {
  std::uint16_t first;
  std::uint16_t last;
};
constexpr message_range message_ranges[] = {{0, 32}, {4500, 4512}};
constexpr std::uint32_t message_levels = 0x1F;  ///< what the modem was built with

[[nodiscard]] constexpr std::size_t mask_bytes(std::uint32_t bits) {
  return (bits + 7) / 8;
}

/// The first `bits` bits; what follows in the last byte is clear.
[[nodiscard]] std::vector<std::uint8_t> first_bits(byte_view mask, std::uint32_t bits);

class masks {
 public:
  masks();

  void clear_logs();
  void set_logs(std::uint32_t equipment, std::uint32_t bits, byte_view mask);
  [[nodiscard]] byte_view logs(std::uint32_t equipment) const { return logs_.at(equipment); }

  void report_events(bool on) { events_on_ = on; }
  void set_events(std::uint32_t bits, byte_view mask);
  [[nodiscard]] byte_view events() const { return events_; }

  /// By subsystem.
  std::map<std::uint16_t, std::uint32_t> messages;

  [[nodiscard]] bool wants_log(std::uint16_t code) const;
  [[nodiscard]] bool wants_event(std::uint16_t id) const;
  /// False: nothing.
  [[nodiscard]] bool wants_any() const { return events_on_ || any_log_; }

  /// What to send to the client of a log packet or event report, with or without its radio wrapper:
  /// all of it, only the events that it wants, or nothing (empty). The result lies in `packet` or
  /// in `shortened`.
  [[nodiscard]] byte_view select(byte_view packet, std::vector<std::uint8_t>& shortened) const;

 private:
  std::array<std::vector<std::uint8_t>, equipment_ids> logs_;
  std::vector<std::uint8_t> events_;
  bool events_on_ = false;
  bool any_log_ = false;
};

}  // namespace sim::diag
