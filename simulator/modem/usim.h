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
#include "protocol/qmi_message.h"
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
  std::vector<std::uint8_t> content;  ///< of a file with records, the only one
  bool needs_pin = false;
};

/// What a PIN action is given.
struct pin_request {
  unsigned slot = 0;
  unsigned pin = 0;
  bool on = false;
  std::string_view code;  ///< or the one that unblocks
  std::string_view next;
};

namespace pin_result {
using protocol::qmi::error;
inline constexpr error done = error::none;
inline constexpr error wrong = error::incorrect_pin;
inline constexpr error blocked = error::pin_blocked;
inline constexpr error not_changed = error::no_effect;
}  // namespace pin_result

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

  /// The results of these four are those of `pin_result`.
  [[nodiscard]] protocol::qmi::error verify(const pin_request& asked);
  [[nodiscard]] protocol::qmi::error change(const pin_request& asked);
  [[nodiscard]] protocol::qmi::error unblock(const pin_request& asked);
  [[nodiscard]] protocol::qmi::error enable(const pin_request& asked);

  void power_lost(unsigned slot) { verified_.at(slot - 1) = {}; }

 private:
  /// Takes a try, or gives all of them back.
  [[nodiscard]] protocol::qmi::error try_code(const setting& tries, bool is_right);
  [[nodiscard]] protocol::qmi::error check(const pin_request& asked);
  [[nodiscard]] bool is_enabled(unsigned slot, unsigned pin);

  settings& settings_;
  std::array<std::array<bool, pins>, card_slots> verified_{};
};

}  // namespace sim
