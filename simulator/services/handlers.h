// The handlers of messages that need nothing of their own but what they tell.
#pragma once

#include <string>

#include "simulator/modem/modem.h"
#include "simulator/service.h"
#include "simulator/services/packed.h"

namespace sim {

inline constexpr std::uint8_t value_tlv = 0x01;

/// Success, whatever was asked.
[[nodiscard]] inline reply accept(const request& /*asked*/) {
  return protocol::qmi::error::none;
}

template <protocol::qmi::error why>
[[nodiscard]] reply refuse(const request& /*asked*/) {
  return why;
}

/// Success and the TLVs that `write` makes of the modem's state.
template <void (*write)(modem& state, protocol::qmi::tlv_writer& out)>
[[nodiscard]] reply tell(const request& asked) {
  reply out = protocol::qmi::error::none;
  write(asked.state, out.tlvs);
  return out;
}

/// Success and a text, or why there is none.
template <std::string (*text)(modem& state), protocol::qmi::error if_empty>
[[nodiscard]] reply tell_text(const request& asked) {
  const std::string value = text(asked.state);
  if (value.empty()) return if_empty;
  reply out = protocol::qmi::error::none;
  out.tlvs.bytes(value_tlv, packed().text(value).view());
  return out;
}

/// Success and an integer that never changes.
template <std::unsigned_integral T, T value, std::uint8_t tlv = value_tlv>
[[nodiscard]] reply tell_number(const request& /*asked*/) {
  reply out = protocol::qmi::error::none;
  out.tlvs.integer(tlv, value);
  return out;
}

/// A required TLV that is exactly one integer.
template <typename T>
[[nodiscard]] protocol::qmi::error take(const request& asked, std::uint8_t type, T& value) {
  const auto found = protocol::qmi::find_tlv(asked.tlvs, type);
  if (!found) return protocol::qmi::error::missing_argument;
  if (found->size() != sizeof(T)) return protocol::qmi::error::malformed_message;
  value = protocol::load_le<T>(*found);
  return protocol::qmi::error::none;
}

/// An optional TLV that is a switch: what it asks of `what` is noted for the client.
inline void watch(const request& asked, std::uint8_t tlv, watched what) {
  const auto on = protocol::qmi::find_integer<std::uint8_t>(asked.tlvs, tlv);
  if (on) asked.state.watchers.set(asked.from, what, *on != 0);
}

}  // namespace sim
