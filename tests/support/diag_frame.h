// Frames of the DIAG port, put together and taken apart without the code under test.
#pragma once

#include <cstdint>
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

[[nodiscard]] inline bytes diag_frame(bytes packet) {
  const std::uint16_t crc = diag_crc(packet);
  packet.push_back(static_cast<std::uint8_t>(crc));
  packet.push_back(static_cast<std::uint8_t>(crc >> 8));
  bytes frame;
  for (const std::uint8_t byte : packet) {
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
  const auto crc = static_cast<std::uint16_t>(packet[packet.size() - 2] | packet.back() << 8);
  packet.resize(packet.size() - 2);
  if (crc != diag_crc(packet)) throw std::runtime_error("wrong CRC");
  return packet;
}

}  // namespace support
