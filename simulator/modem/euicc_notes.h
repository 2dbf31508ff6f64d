// What the eUICC keeps beside its profiles: their nicknames, its default server, and notifications
// of what was done to profiles, each with a number that is never used again.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/bytes.h"
#include "simulator/modem/store.h"

namespace sim {

/// Bits as notifications have them.
enum class profile_operation : std::uint8_t { enabled = 0x40, disabled = 0x20, deleted = 0x10 };

struct profile_notification {
  std::uint32_t number = 0;
  profile_operation operation{};
  std::vector<std::uint8_t> iccid;
};

inline constexpr std::size_t longest_nickname = 64;
inline constexpr std::size_t longest_server = 128;
/// What the default server's text is about.
inline constexpr protocol::byte_view default_server;
/// The oldest are dropped beyond this.
inline constexpr int most_notifications = 32;

/// Every function throws `failure` when the state cannot be read or written.
class euicc_notes {
 public:
  explicit euicc_notes(store& store);

  /// A profile's nickname, by its ICCID, or the default server. Empty: none.
  [[nodiscard]] std::string text(protocol::byte_view about);
  void set_text(protocol::byte_view about, std::string_view text);

  void notify(profile_operation what, protocol::byte_view iccid);
  /// In the order of their numbers.
  [[nodiscard]] std::vector<profile_notification> notifications();
  /// False when there is none with this number.
  [[nodiscard]] bool remove(std::uint32_t number);

 private:
  prepared text_;
  prepared set_text_;
  prepared erase_text_;
  prepared add_;
  prepared trim_;
  prepared list_;
  prepared remove_;
};

}  // namespace sim
