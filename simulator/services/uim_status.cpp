// Card status, by logical slot, and slot status, by physical one.
#include <algorithm>
#include <iterator>

#include "simulator/services/handlers.h"
#include "simulator/services/uim.h"

namespace sim {
namespace {

using bytes = std::vector<std::uint8_t>;
using protocol::append_le;
using protocol::byte_view;
using protocol::qmi::error;
using protocol::qmi::tlv_writer;

void append(bytes& out, byte_view more) {
  out.insert(out.end(), more.begin(), more.end());
}

void append_counted(bytes& out, byte_view data) {
  out.push_back(static_cast<std::uint8_t>(data.size()));
  append(out, data);
}

/// Application states.
constexpr std::uint8_t pin_required = 2;
constexpr std::uint8_t puk_required = 3;
constexpr std::uint8_t ready = 7;

std::uint8_t state_of(pin_state pin) {
  if (pin == pin_state::blocked) return puk_required;
  return pin == pin_state::not_verified ? pin_required : ready;
}

bytes usim_in(unsigned physical, usim& card) {
  constexpr std::uint8_t usim_type = 2;
  constexpr std::uint8_t personalisation_ready = 2;
  bytes out = {usim_type, state_of(card.status(physical, 1).state), personalisation_ready, 0, 0, 0};
  append_counted(out, aid_of(application::usim));
  out.push_back(0);  // there is no UPIN in the place of PIN 1
  for (unsigned pin = 1; pin <= usim::pins; ++pin) {
    const pin_status is = card.status(physical, pin);
    append(out, std::array{static_cast<std::uint8_t>(is.state), is.retries, is.unblock_retries});
  }
  return out;
}

/// State, UPIN state and retries, error, applications.
bytes card_of(card_error what, const card& found, unsigned physical, usim& usim) {
  constexpr std::uint8_t absent = 0;
  constexpr std::uint8_t present = 1;
  constexpr std::uint8_t in_error = 2;
  constexpr std::uint8_t power_down = 1;
  if (what == card_error::no_power) return {in_error, 0, 0, 0, power_down, 0};
  if (what != card_error::none) return {absent, 0, 0, 0, 0, 0};
  const bool has_usim = found.has_usim();
  bytes out = {present, 0, 0, 0, 0, static_cast<std::uint8_t>(has_usim ? 1 : 0)};
  if (has_usim) append(out, usim_in(physical, usim));
  return out;
}

constexpr std::uint16_t no_index = 0xFFFF;

/// The cards of all logical slots, and which application each session runs on.
struct card_status {
  unsigned slots = 0;
  std::array<std::uint16_t, card_slots> gw_index{no_index, no_index};
  bytes cards;
};

card_status read_cards(modem& state) {
  uicc_slots& slots = state.uicc;
  card_status out;
  out.slots = slots.active_slots;
  out.cards.push_back(static_cast<std::uint8_t>(out.slots));
  for (unsigned logical = 1; logical <= out.slots; ++logical) {
    card found;
    const card_error what = slots.look_logical(logical, found);
    append(out.cards, card_of(what, found, slots.physical_of(logical), state.usim));
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
  const auto count = static_cast<std::uint8_t>(status.slots);
  bytes out = {count};
  for (unsigned i = 0; i < count; ++i) append_le(out, status.gw_index.at(i));
  out.push_back(count);
  for (unsigned i = 0; i < count; ++i) append_le(out, no_index);
  append(out, status.cards);
  return out;
}

constexpr std::uint8_t uicc_atr[] = {0x3B, 0x03, 0x54, 0x56, 0x4B};

}  // namespace

reply get_card_status(const request& asked) {
  constexpr std::uint8_t extended_wanted_tlv = 0x10;
  const auto extended = protocol::qmi::find_integer<std::uint8_t>(asked.tlvs, extended_wanted_tlv);
  const card_status status = read_cards(asked.state);
  reply out = error::none;
  out.tlvs.bytes(0x10, plain_status(status));
  if (extended.value_or(0) != 0) out.tlvs.bytes(0x13, extended_status(status));
  return out;
}

namespace {

void write_slot_status(modem& state, tlv_writer& out) {
  constexpr std::uint32_t card_absent = 1;
  constexpr std::uint32_t card_present = 2;
  constexpr std::uint32_t uicc_protocol = 2;
  uicc_slots& slots = state.uicc;
  bytes states = {static_cast<std::uint8_t>(card_slots)};
  bytes cards = states;
  bytes eids = states;
  for (unsigned physical = 1; physical <= card_slots; ++physical) {
    card found;
    const bool can_be_asked = slots.look(physical, found) == card_error::none;
    append_le(states, slots.has_card(physical) ? card_present : card_absent);
    const std::uint8_t logical = slots.physical_of(1) == physical ? 1 : 2;
    const bool is_active = logical <= slots.active_slots;
    append_le(states, std::uint32_t{is_active ? 1U : 0U});
    states.push_back(is_active ? logical : 0);
    append_counted(states, found.iccid);
    append_le(cards, can_be_asked ? uicc_protocol : 0);
    cards.push_back(found.has_usim() ? 1 : 0);
    append_counted(cards, can_be_asked ? byte_view(uicc_atr) : byte_view());
    cards.push_back(found.is_euicc ? 1 : 0);
    append_counted(eids, found.is_euicc ? byte_view(euicc_eid) : byte_view());
  }
  out.bytes(0x10, states).bytes(0x11, cards).bytes(0x12, eids);
}

void write_card_status(modem& state, tlv_writer& out) {
  out.bytes(0x10, plain_status(read_cards(state)));
}

}  // namespace

reply get_slot_status(const request& asked) {
  return tell<write_slot_status>(asked);
}

void indicate_cards(modem& state, reply& out) {
  const struct {
    watched what;
    std::uint16_t message;
    void (*write)(modem& state, tlv_writer& out);
  } rows[] = {{watched::card_status, 0x0032, write_card_status},
              {watched::slot_status, 0x0048, write_slot_status}};
  for (const auto& row : rows) {
    for (const client& each : state.watchers.of(row.what)) {
      tlv_writer told;
      row.write(state, told);
      out.indications.push_back({each, row.message, told.take(), uim_service_id_v01});
    }
  }
}

}  // namespace sim
