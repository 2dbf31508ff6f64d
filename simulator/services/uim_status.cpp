// Card status, by logical slot, and slot status, by physical one.
#include <algorithm>
#include <iterator>

#include "simulator/services/handlers.h"
#include "simulator/services/uim.h"

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qmi::error;
using protocol::qmi::tlv_writer;

/// Application states.
constexpr std::uint8_t pin_required = 2;
constexpr std::uint8_t puk_required = 3;
constexpr std::uint8_t ready = 7;

std::uint8_t state_of(pin_state pin) {
  if (pin == pin_state::blocked) return puk_required;
  return pin == pin_state::not_verified ? pin_required : ready;
}

packed usim_in(unsigned physical, usim& card) {
  constexpr std::uint8_t usim_type = 2;
  constexpr std::uint8_t personalisation_ready = 2;
  packed out;
  out.u8(usim_type).u8(state_of(card.status(physical, 1).state)).u8(personalisation_ready);
  out.u8(0).u8(0).u8(0).counted(aid_of(application::usim));
  out.u8(0);  // there is no UPIN in the place of PIN 1
  for (unsigned pin = 1; pin <= usim::pins; ++pin) {
    const pin_status is = card.status(physical, pin);
    out.u8(static_cast<std::uint8_t>(is.state)).u8(is.retries).u8(is.unblock_retries);
  }
  return out;
}

/// State, UPIN state and retries, error, applications.
packed card_of(card_error what, const card& found, unsigned physical, usim& usim) {
  constexpr std::uint8_t absent = 0;
  constexpr std::uint8_t present = 1;
  constexpr std::uint8_t in_error = 2;
  constexpr std::uint8_t power_down = 1;
  const auto without_application = [](std::uint8_t state, std::uint8_t reason) {
    return packed().u8(state).u8(0).u8(0).u8(0).u8(reason).u8(0);
  };
  if (what == card_error::no_power) return without_application(in_error, power_down);
  if (what != card_error::none) return without_application(absent, 0);
  if (!found.has_usim()) return without_application(present, 0);
  packed out;
  out.u8(present).u8(0).u8(0).u8(0).u8(0).u8(1).raw(usim_in(physical, usim).view());
  return out;
}

constexpr std::uint16_t no_index = 0xFFFF;

/// The cards of all logical slots, and which application each session runs on.
struct card_status {
  unsigned slots = 0;
  std::array<std::uint16_t, card_slots> gw_index{no_index, no_index};
  packed cards;
};

card_status read_cards(modem& state) {
  uicc_slots& slots = state.uicc;
  card_status out;
  out.slots = slots.active_slots;
  out.cards.u8(static_cast<std::uint8_t>(out.slots));
  for (unsigned logical = 1; logical <= out.slots; ++logical) {
    card found;
    const card_error what = slots.look_logical(logical, found);
    out.cards.raw(card_of(what, found, slots.physical_of(logical), state.usim).view());
    // Slot from 0 in the high byte, application 0 in the low one.
    out.gw_index[logical - 1] =
        found.has_usim() ? static_cast<std::uint16_t>((logical - 1) << 8) : no_index;
  }
  return out;
}

packed plain_status(const card_status& status) {
  packed out;
  for (const std::uint16_t gw : status.gw_index) out.u16(gw).u16(no_index);  // no 1X session
  return out.raw(status.cards.view());
}

packed extended_status(const card_status& status) {
  const auto count = static_cast<std::uint8_t>(status.slots);
  packed out;
  out.u8(count);
  for (unsigned i = 0; i < count; ++i) out.u16(status.gw_index.at(i));
  out.u8(count);
  for (unsigned i = 0; i < count; ++i) out.u16(no_index);
  return out.raw(status.cards.view());
}

constexpr std::uint8_t uicc_atr[] = {0x3B, 0x03, 0x54, 0x56, 0x4B};

}  // namespace

reply get_card_status(const request& asked) {
  constexpr std::uint8_t extended_wanted_tlv = 0x10;
  const auto extended = protocol::qmi::find_integer<std::uint8_t>(asked.tlvs, extended_wanted_tlv);
  const card_status status = read_cards(asked.state);
  reply out = error::none;
  out.tlvs.bytes(0x10, plain_status(status).view());
  if (extended.value_or(0) != 0) out.tlvs.bytes(0x13, extended_status(status).view());
  return out;
}

namespace {

void write_slot_status(modem& state, tlv_writer& out) {
  constexpr std::uint32_t card_absent = 1;
  constexpr std::uint32_t card_present = 2;
  constexpr std::uint32_t uicc_protocol = 2;
  uicc_slots& slots = state.uicc;
  packed states;
  states.u8(static_cast<std::uint8_t>(card_slots));
  packed cards = states;
  packed eids = states;
  for (unsigned physical = 1; physical <= card_slots; ++physical) {
    card found;
    const bool can_be_asked = slots.look(physical, found) == card_error::none;
    states.u32(slots.has_card(physical) ? card_present : card_absent);
    const std::uint8_t logical = slots.physical_of(1) == physical ? 1 : 2;
    const bool is_active = logical <= slots.active_slots;
    states.u32(is_active ? 1 : 0).u8(is_active ? logical : 0).counted(found.iccid);
    cards.u32(can_be_asked ? uicc_protocol : 0).u8(found.has_usim() ? 1 : 0);
    cards.counted(can_be_asked ? byte_view(uicc_atr) : byte_view()).u8(found.is_euicc ? 1 : 0);
    eids.counted(found.is_euicc ? byte_view(euicc_eid) : byte_view());
  }
  out.bytes(0x10, states.view()).bytes(0x11, cards.view()).bytes(0x12, eids.view());
}

}  // namespace

reply get_slot_status(const request& asked) {
  return tell<write_slot_status>(asked);
}

void indicate_cards(modem& state, reply& out) {
  tlv_writer cards;
  cards.bytes(0x10, plain_status(read_cards(state)).view());
  indicate(out, state, watched::card_status, {{}, 0x0032, cards.take(), uim_service_id_v01});
  tlv_writer slots;
  write_slot_status(state, slots);
  indicate(out, state, watched::slot_status, {{}, 0x0048, slots.take(), uim_service_id_v01});
}

}  // namespace sim
