// The handlers of messages that need nothing of their own but what they tell.
#pragma once

#include <optional>
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

/// Ends the handler with a standard response.
[[noreturn]] inline void refuse(protocol::qmi::error why) {
  throw refused{why};
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

/// What a value is taken from; the handler ends if there is none.
template <typename T>
[[nodiscard]] T required(std::optional<T> value, protocol::qmi::error if_missing) {
  if (!value) refuse(if_missing);
  return *std::move(value);
}

/// Takes a required TLV apart, from the front. The handler ends if the TLV is missing or too short.
class fields {
 public:
  fields(const request& asked, std::uint8_t tlv)
      : in_(required(protocol::qmi::find_tlv(asked.tlvs, tlv),
                     protocol::qmi::error::missing_argument)) {}

  template <std::unsigned_integral T>
  [[nodiscard]] T next() {
    return required(in_.take<T>(), protocol::qmi::error::malformed_message);
  }
  /// So many bytes, after their count.
  template <std::unsigned_integral Count = std::uint8_t>
  [[nodiscard]] protocol::byte_view counted() {
    return required(in_.take_bytes(next<Count>()), protocol::qmi::error::malformed_message);
  }
  /// The handler ends if anything is left.
  void end() const {
    if (!in_.empty()) refuse(protocol::qmi::error::malformed_message);
  }

 private:
  protocol::byte_reader in_;
};

/// A required TLV that is exactly one integer.
template <std::unsigned_integral T>
[[nodiscard]] T take(const request& asked, std::uint8_t tlv) {
  fields in(asked, tlv);
  const T value = in.next<T>();
  in.end();
  return value;
}

/// What the radio of the first subscription sees, of whom all these services tell.
[[nodiscard]] inline radio_values seen_now(const request& asked) {
  return required(asked.state.seen_by(0), protocol::qmi::error::information_unavailable);
}

/// An indication to each client that has asked to be told of this.
inline void indicate(reply& out, const modem& state, watched what, indication told) {
  for (const client& each : state.watchers.of(what)) {
    told.to = each;
    out.indications.push_back(told);
  }
}

/// An optional TLV that is a switch: what it asks of `what` is noted for the client.
inline void watch(const request& asked, std::uint8_t tlv, watched what) {
  const auto on = protocol::qmi::find_integer<std::uint8_t>(asked.tlvs, tlv);
  if (on) asked.state.watchers.set(asked.from, what, *on != 0);
}

}  // namespace sim
