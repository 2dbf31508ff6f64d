// The baseline: deframing written without regard to speed.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "protocol/hdlc.h"

/// The number of good frames in a stream.
inline std::size_t deframe_byte_by_byte(std::span<const std::uint8_t> stream) {
  static const auto table = [] {
    std::array<std::uint16_t, 256> made{};
    for (unsigned byte = 0; byte < 256; ++byte) {
      unsigned crc = byte;
      for (int bit = 0; bit < 8; ++bit) crc = (crc & 1U) != 0 ? (crc >> 1U) ^ 0x8408U : crc >> 1U;
      made.at(byte) = static_cast<std::uint16_t>(crc);
    }
    return made;
  }();
  constexpr unsigned good_residue = 0xF0B8;
  std::size_t packets = 0;
  std::vector<std::uint8_t> packet;
  bool escaped = false;
  unsigned crc = 0xFFFF;
  for (std::uint8_t byte : stream) {
    if (byte == protocol::hdlc::terminator) {
      packets += packet.size() >= 3 && crc == good_residue ? 1U : 0U;
      packet.clear();
      crc = 0xFFFF;
      escaped = false;
    } else if (byte == protocol::hdlc::escape) {
      escaped = true;
    } else {
      if (escaped) byte ^= protocol::hdlc::escape_xor;
      escaped = false;
      crc = (crc >> 8U) ^ table.at((crc ^ byte) & 0xFFU);
      packet.push_back(byte);
    }
  }
  return packets;
}
