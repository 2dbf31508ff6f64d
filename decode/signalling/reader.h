// Takes signalling messages out of log packets.
#pragma once

#include <bitset>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "decode/signalling/message.h"
#include "decode/signalling/reading.h"
#include "modem_stats/packet.h"
#include "protocol/bytes.h"

namespace decode::signalling {

/// The logs that hold messages.
[[nodiscard]] const std::bitset<65536>& logs();
/// Empty for other logs.
[[nodiscard]] std::string_view log_name(std::uint16_t code);

/// A message of which the last part is yet to come.
struct open_message {
  std::uint16_t code;
  std::uint32_t radio;
  kind what;
  std::uint8_t part;  // the latest
  std::vector<std::uint8_t> bytes;

  bool operator==(const open_message&) const = default;
};
using open_messages = std::vector<open_message>;

class reader {
 public:
  /// `open` is what earlier packets left, and will be what these leave.
  explicit reader(open_messages& open) : open_(open) {}

  /// Reads a packet of a log from logs(). The message, if it is complete, is valid until the next
  /// call.
  [[nodiscard]] reading read(std::uint16_t code, std::uint32_t radio, protocol::byte_view payload);

  /// Whether there was a part, so that the result depends on the packets before.
  [[nodiscard]] bool has_read_part() const { return has_read_part_; }
  /// How many messages have been given up because a part of theirs was missing; starts over.
  [[nodiscard]] std::uint64_t take_given_up() { return std::exchange(given_up_, 0); }

 private:
  void join(std::uint16_t code, std::uint32_t radio, reading& now);

  open_messages& open_;
  bool has_read_part_ = false;
  std::uint64_t given_up_ = 0;
  scratch room_;
};

}  // namespace decode::signalling
