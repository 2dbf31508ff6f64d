// What the reader of a log makes of a packet.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "decode/signalling/message.h"
#include "modem_stats/packet.h"
#include "protocol/bytes.h"

namespace decode::signalling {

/// Long messages come in parts: numbers from 1 on, and a last one.
constexpr std::uint8_t whole_message = 0;
constexpr std::uint8_t last_part = 7;

struct reading {
  modem_stats::packet_outcome outcome;
  std::optional<message> found;
  std::uint8_t part = whole_message;
  std::uint32_t radio = 0;  // that the payload names; 0: it names none
};

/// Room for a message that is not in the packet byte by byte.
using scratch = std::vector<std::uint8_t>;

[[nodiscard]] inline reading rejected(modem_stats::rejection why, std::uint32_t version) {
  return {.outcome = {.rejected = why, .version = version}, .found = {}};
}
[[nodiscard]] inline reading accepted(const message& found) {
  return {.outcome = {.version = found.version}, .found = found};
}

/// Why `size` bytes at the end of a packet are not a message of `length` bytes, if so.
[[nodiscard]] constexpr modem_stats::rejection check_length(std::size_t length, std::size_t size) {
  if (length > size) return modem_stats::rejection::length;
  if (length < size || length == 0) return modem_stats::rejection::value;
  return modem_stats::rejection::none;
}

// The readers, a family of logs each. All read what follows the log header.
[[nodiscard]] reading read_lte_rrc(std::uint16_t code, protocol::byte_view payload, scratch& room);
[[nodiscard]] reading read_lte_mib(std::uint16_t code, protocol::byte_view payload, scratch& room);
[[nodiscard]] reading read_nr_rrc(std::uint16_t code, protocol::byte_view payload, scratch& room);
[[nodiscard]] reading read_umts_rrc(std::uint16_t code, protocol::byte_view payload, scratch& room);
[[nodiscard]] reading read_nas(std::uint16_t code, protocol::byte_view payload, scratch& room);
[[nodiscard]] reading read_layer_3(std::uint16_t code, protocol::byte_view payload, scratch& room);
[[nodiscard]] reading read_gsm_rr(std::uint16_t code, protocol::byte_view payload, scratch& room);
[[nodiscard]] reading read_gprs_mac(std::uint16_t code, protocol::byte_view payload, scratch& room);
[[nodiscard]] reading read_sip(std::uint16_t code, protocol::byte_view payload, scratch& room);

}  // namespace decode::signalling
