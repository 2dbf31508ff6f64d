// Frames of the DIAG port, put together and taken apart without the code under test.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>

#include "support/bytes.h"

namespace support {

/// CRC-16/X.25, a bit at a time.
inline std::uint16_t diag_crc(const bytes& packet) {
  unsigned crc = 0xFFFF;
  for (const std::uint8_t byte : packet) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ 0x8408 : crc >> 1;
  }
  return static_cast<std::uint16_t>(crc ^ 0xFFFF);
}

[[nodiscard]] inline bytes diag_frame(const bytes& packet) {
  bytes frame;
  for (const std::uint8_t byte : packet + u16(diag_crc(packet))) {
    const bool special = byte == 0x7D || byte == 0x7E;
    if (special) frame.push_back(0x7D);
    frame.push_back(special ? byte ^ 0x20 : byte);
  }
  frame.push_back(0x7E);
  return frame;
}

/// Throws for a frame with a wrong CRC.
inline bytes diag_packet(const bytes& frame) {
  bytes packet;
  for (std::size_t i = 0; i + 1 < frame.size(); ++i) {
    packet.push_back(frame[i] == 0x7D ? frame[++i] ^ 0x20 : frame[i]);
  }
  if (packet.size() < 3) throw std::runtime_error("short frame");
  const auto data = slice(packet, 0, packet.size() - 2);
  if (data + u16(diag_crc(data)) != packet) throw std::runtime_error("wrong CRC");
  return data;
}

/// Takes the first frame, with its 7E, off what has come; nothing when it is not whole yet.
inline std::optional<bytes> take_diag_frame(bytes& come) {
  const auto end = std::ranges::find(come, 0x7E);
  if (end == come.end()) return {};
  const bytes frame(come.begin(), end + 1);
  come.erase(come.begin(), end + 1);
  return frame;
}

}  // namespace support
