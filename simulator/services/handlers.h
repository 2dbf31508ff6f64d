// What the handlers of all services share: tables of what a message reports, readers of requests,
// and indications.
#pragma once

#include <algorithm>
#include <optional>

#include "simulator/modem/byte_strings.h"
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

/// Ends the handler unless this is no error.
inline void demand(protocol::qmi::error result) {
  if (result != protocol::qmi::error::none) refuse(result);
}

/// What a value is taken from; the handler ends if there is none.
template <typename T>
[[nodiscard]] T required(std::optional<T> value, protocol::qmi::error if_missing) {
  if (!value) refuse(if_missing);
  return *std::move(value);
}

// What messages report: a table of TLVs.

/// A TLV and its value: bytes that never change, in hexadecimal, or what `make` makes of the state.
/// An indication may have another TLV for it, or leave it out, which is TLV 0.
template <typename State>
struct value_row {
  using maker = packed (*)(State& from);
  using other_tlv = std::optional<std::uint8_t>;

  constexpr value_row(std::uint8_t in_answer, const char* bytes, other_tlv in_indication = {})
      : tlv(in_answer), indication_tlv(in_indication.value_or(in_answer)), fixed(bytes) {}
  constexpr value_row(std::uint8_t in_answer, maker made, other_tlv in_indication = {})
      : tlv(in_answer), indication_tlv(in_indication.value_or(in_answer)), make(made) {}

  std::uint8_t tlv;
  std::uint8_t indication_tlv;
  const char* fixed = nullptr;
  maker make = nullptr;
};

template <typename Rows, typename State>
void write(const Rows& rows, State& from, bool is_indication, protocol::qmi::tlv_writer& out) {
  for (const auto& row : rows) {
    const std::uint8_t tlv = is_indication ? row.indication_tlv : row.tlv;
    if (tlv == 0) continue;
    if (row.make != nullptr) {
      out.bytes(tlv, row.make(from).view());
    } else {
      out.bytes(tlv, bytes_of_hex(row.fixed));
    }
  }
}

/// What most tables read.
[[nodiscard]] inline modem& state_of(const request& asked) {
  return asked.state;
}

/// Success and the values of a table. `read` reads what they are made of, once for all of them, or
/// ends the handler. The standard response comes first unless it is a row of the table.
template <const auto& table, auto read = state_of>
[[nodiscard]] reply tell(const request& asked) {
  const auto is_response = [](const auto& row) {
    return row.tlv == protocol::qmi::standard_response_tlv;
  };
  auto&& from = read(asked);
  reply out;
  if (std::ranges::none_of(table, is_response)) {
    out.tlvs.standard_response(protocol::qmi::error::none);
  }
  write(table, from, false, out.tlvs);
  return out;
}

// What requests ask.

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

/// A required TLV that is exactly a count and so many bytes.
template <std::unsigned_integral Count = std::uint8_t>
[[nodiscard]] protocol::byte_view take_counted(const request& asked, std::uint8_t tlv) {
  fields in(asked, tlv);
  const protocol::byte_view bytes = in.counted<Count>();
  in.end();
  return bytes;
}

// Indications.

/// To each client that has asked to be told of this.
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
