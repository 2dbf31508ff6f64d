// Messages of the standard services on the modem socket, TLVs by hand.
#pragma once

#include <gtest/gtest.h>

#include "support/modem_connection.h"

namespace support {

inline bytes u16(std::size_t value) {
  return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)};
}

/// The TLVs of a service's answer to a message, by the service's port.
inline bytes ask(const modem_connection& client, std::uint8_t port, const char* message,
                 const bytes& tlvs = {}) {
  const bytes service = hex("00000000") + bytes{port, 0, 0, 0};
  const bytes id = hex(message);
  const bytes answer = client.ask(service + hex("00 0100") + id + u16(tlvs.size()) + tlvs);
  if (answer.size() < 15) throw std::runtime_error("no answer");
  const bytes head = service + hex("02 0100") + id + u16(answer.size() - 15);
  EXPECT_EQ(bytes(answer.begin(), answer.begin() + 15), head);
  return {answer.begin() + 15, answer.end()};
}

inline const bytes done = hex("02 0400 00000000");
inline bytes failed(const char* code) {
  return hex("02 0400 0100") + hex(code);
}

}  // namespace support
