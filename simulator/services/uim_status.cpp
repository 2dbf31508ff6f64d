// Card status, by logical slot, and slot status, by physical one.
#include <algorithm>
#include <iterator>

#include "simulator/modem/modem.h"
#include "simulator/services/uim.h"

namespace sim {
namespace {

using bytes = std::vector<std::uint8_t>;
using protocol::append_le;
using protocol::byte_view;
using protocol::qmi::error;

void append(bytes& out, byte_view more) {
  out.insert(out.end(), more.begin(), more.end());
}

void append_counted(bytes& out, byte_view data) {
  out.push_back(static_cast<std::uint8_t>(data.size()));
  append(out, data);
}

constexpr std::uint8_t usim_type = 2;
constexpr std::uint8_t app_ready = 7;
constexpr std::uint8_t perso_ready = 2;
constexpr std::uint8_t pin_not_verified = 1;
constexpr std::uint8_t pin_disabled = 3;
constexpr std::uint8_t pin_retries = 3;
constexpr std::uint8_t puk_retries = 10;

/// A USIM that is ready for use.
bytes usim() {
  bytes out = {usim_type, app_ready, perso_ready, 0, 0, 0};
  append_counted(out, aid_of(application::usim));
  append(out, std::array<std::uint8_t, 7>{0, pin_disabled, pin_retries, puk_retries,
                                          pin_not_verified, pin_retries, puk_retries});
  return out;
}

/// State, UPIN state and retries, error, applications.
bytes card_of(card_error what, const card& found) {
  constexpr std::uint8_t absent = 0;
  constexpr std::uint8_t present = 1;
  constexpr std::uint8_t in_error = 2;
  constexpr std::uint8_t power_down = 1;
  if (what == card_error::no_power) return {in_error, 0, 0, 0, power_down, 0};
  if (what != card_error::none) return {absent, 0, 0, 0, 0, 0};
  const bool has_usim = found.has_usim();
  bytes out = {present, 0, 0, 0, 0, static_cast<std::uint8_t>(has_usim ? 1 : 0)};
  if (has_usim) append(out, usim());
  return out;
}

/// The cards of all logical slots, and which application each session runs on.
struct card_status {
  std::array<std::uint16_t, card_slots> gw_index{};
  bytes cards = {static_cast<std::uint8_t>(card_slots)};
};

constexpr std::uint16_t no_index = 0xFFFF;

card_status read_cards(uicc_slots& slots) {
  card_status out;
  for (unsigned logical = 1; logical <= card_slots; ++logical) {
    card found;
    const card_error what = slots.look_logical(logical, found);
    append(out.cards, card_of(what, found));
    // Slot from 0 in the high byte, application 0 in the low one.
    out.gw_index[logical - 1] =
        found.has_usim() ? static_cast<std::uint16_t>((logical - 1) << 8) : no_index;
  }
  return out;
}

bytes plain_status(const card_status& status) {
  bytes out;
  for (const std::uint16_t gw : status.gw_index) {
    append_le(out, gw);
    append_le(out, no_index);  // no 1X session
  }
  append(out, status.cards);
  return out;
}

bytes extended_status(const card_status& status) {
  bytes out = {static_cast<std::uint8_t>(card_slots)};
  for (const std::uint16_t gw : status.gw_index) append_le(out, gw);
  out.push_back(card_slots);
  for (unsigned i = 0; i < card_slots; ++i) append_le(out, no_index);
  append(out, status.cards);
  return out;
}

constexpr std::uint8_t uicc_atr[] = {0x3B, 0x03, 0x54, 0x56, 0x4B};

}  // namespace

reply get_card_status(const request& asked) {
  constexpr std::uint8_t extended_wanted_tlv = 0x10;
  const auto extended = protocol::qmi::find_integer<std::uint8_t>(asked.tlvs, extended_wanted_tlv);
  const card_status status = read_cards(asked.state.uicc);
  reply out = error::none;
  out.tlvs.bytes(0x10, plain_status(status));
  if (extended.value_or(0) != 0) out.tlvs.bytes(0x13, extended_status(status));
  return out;
}

reply get_slot_status(const request& asked) {
  constexpr std::uint32_t card_absent = 1;
  constexpr std::uint32_t card_present = 2;
  constexpr std::uint32_t slot_active = 1;
  constexpr std::uint32_t uicc_protocol = 2;
  uicc_slots& slots = asked.state.uicc;
  bytes states = {static_cast<std::uint8_t>(card_slots)};
  bytes cards = states;
  bytes eids = states;
  for (unsigned physical = 1; physical <= card_slots; ++physical) {
    card found;
    const bool can_be_asked = slots.look(physical, found) == card_error::none;
    append_le(states, slots.has_card(physical) ? card_present : card_absent);
    append_le(states, slot_active);
    states.push_back(slots.physical_of(1) == physical ? 1 : 2);
    append_counted(states, found.iccid);
    append_le(cards, can_be_asked ? uicc_protocol : 0);
    cards.push_back(found.has_usim() ? 1 : 0);
    append_counted(cards, can_be_asked ? byte_view(uicc_atr) : byte_view());
    cards.push_back(found.is_euicc ? 1 : 0);
    append_counted(eids, found.is_euicc ? byte_view(euicc_eid) : byte_view());
  }
  reply out = error::none;
  out.tlvs.bytes(0x10, states).bytes(0x11, cards).bytes(0x12, eids);
  return out;
}

}  // namespace sim
