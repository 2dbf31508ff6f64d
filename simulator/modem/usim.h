// The USIM of a card: its files, and the PINs that guard it. The PINs and their counters outlive a
// run; that one was verified lasts until the card loses power.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/bytes.h"
#include "simulator/modem/cards.h"
#include "simulator/modem/settings.h"

namespace sim {

enum class file_type : std::uint8_t {
  transparent = 0,
  linear_fixed = 2,
  dedicated = 3,
  master = 4
};

struct card_file {
  std::uint16_t id = 0;
  file_type type = file_type::transparent;
  std::vector<std::vector<std::uint8_t>> records;  ///< a transparent file has one
  bool needs_pin = false;
};

enum class pin_result : std::uint8_t { done, wrong, blocked, not_changed };

/// Numbers as the services have them.
enum class pin_state : std::uint8_t { not_verified = 1, verified = 2, disabled = 3, blocked = 4 };

struct pin_status {
  pin_state state = pin_state::not_verified;
  std::uint8_t retries = 0;
  std::uint8_t unblock_retries = 0;
};

/// Slots are physical ones, PINs 1 and 2. The functions throw `failure` when the state cannot be
/// read or written.
class usim {
 public:
  static constexpr const char* imsi = "001010123456789";
  static constexpr unsigned pins = 2;

  explicit usim(settings& settings) : settings_(settings) {}

  /// The digits of bytes that hold two each, the first one in the low nibble.
  [[nodiscard]] static std::string digits_of(protocol::byte_view swapped);

  /// The file at the path, which is its directories from the master file on; the directory of the
  /// USIM is 7FFF.
  [[nodiscard]] static std::optional<card_file> find(std::span<const std::uint16_t> path,
                                                     std::uint16_t id, protocol::byte_view iccid);

  [[nodiscard]] pin_status status(unsigned slot, unsigned pin);
  /// Whether PIN 1 lets its files be read.
  [[nodiscard]] bool is_unlocked(unsigned slot);

  [[nodiscard]] pin_result verify(unsigned slot, unsigned pin, std::string_view code);
  [[nodiscard]] pin_result change(unsigned slot, unsigned pin, std::string_view code,
                                  std::string_view next);
  [[nodiscard]] pin_result unblock(unsigned slot, unsigned pin, std::string_view puk,
                                   std::string_view next);
  [[nodiscard]] pin_result enable(unsigned slot, unsigned pin, bool on, std::string_view code);

  void power_lost(unsigned slot) { verified_.at(slot - 1) = {}; }

 private:
  [[nodiscard]] pin_result check(unsigned slot, unsigned pin, std::string_view code);
  [[nodiscard]] bool is_enabled(unsigned slot, unsigned pin);

  settings& settings_;
  std::array<std::array<bool, pins>, card_slots> verified_{};
};

}  // namespace sim
