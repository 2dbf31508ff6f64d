// UIM, the standard service of cards: their power, slots and channels, and their status. Slots are
// numbered from 1. They are logical ones, except in slot status, which shows the physical ones, and
// in switch slot, which maps one to the other.
#include "services/uim_v01.h"
#include "simulator/services/handlers.h"
#include "simulator/services/indications.h"
#include "simulator/services/messages.h"

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qmi::error;
using protocol::qmi::find_integer;
using protocol::qmi::tlv_writer;

constexpr std::uint8_t slot_tlv = 0x01;

/// Success, and indications to the clients that watch the cards.
reply with_news(const request& asked) {
  reply out = error::none;
  indicate_cards(asked.state, out);
  indicate_network(asked.state, out);
  return out;
}

reply power_off(const request& asked) {
  demand(asked.state.uicc.power_down(take<std::uint8_t>(asked, slot_tlv)));
  return with_news(asked);
}

reply power_on(const request& asked) {
  constexpr std::uint8_t ignore_hot_swap_tlv = 0x10;
  const auto slot = take<std::uint8_t>(asked, slot_tlv);
  const auto ignore = find_integer<std::uint8_t>(asked.tlvs, ignore_hot_swap_tlv);
  demand(asked.state.uicc.power_up(slot, ignore.value_or(0) != 0));
  return with_news(asked);
}

reply switch_slot(const request& asked) {
  constexpr std::uint8_t physical_slot_tlv = 0x02;
  const auto logical = take<std::uint8_t>(asked, slot_tlv);
  const auto physical = take<std::uint32_t>(asked, physical_slot_tlv);
  for (const std::uint32_t slot : {std::uint32_t{logical}, physical}) {
    if (slot < 1 || slot > card_slots) return error::invalid_argument;
  }
  return asked.state.uicc.assign(logical, physical) ? with_news(asked) : error::no_effect;
}

reply get_eid(const request& asked) {
  card found;
  demand(asked.state.uicc.look_logical(take<std::uint8_t>(asked, slot_tlv), found));
  // A card that is not an eUICC has none; asking for it is no mistake.
  if (!found.is_euicc) return error::none;
  return tlv_writer().bytes(0x10, packed().counted(euicc_eid).view());
}

reply send_apdu(const request& asked) {
  constexpr std::uint8_t apdu_tlv = 0x02;
  constexpr std::uint8_t channel_tlv = 0x10;
  const auto slot = take<std::uint8_t>(asked, slot_tlv);
  const byte_view apdu = take_counted<std::uint16_t>(asked, apdu_tlv);
  const auto channel = find_integer<std::uint8_t>(asked.tlvs, channel_tlv);
  std::vector<std::uint8_t> said;
  demand(asked.state.uicc.transmit(slot, channel.value_or(0), apdu, said));
  return tlv_writer().bytes(0x10, packed().counted<std::uint16_t>(said).view());
}

reply open_channel(const request& asked) {
  constexpr std::uint8_t aid_tlv = 0x10;
  const auto slot = take<std::uint8_t>(asked, slot_tlv);
  opened_channel opened;
  demand(asked.state.uicc.open_channel(asked.from, slot, take_counted(asked, aid_tlv), opened));
  constexpr std::uint8_t done[] = {0x90, 0x00};
  return tlv_writer()
      .integer(0x10, opened.id)
      .bytes(0x11, done)
      .bytes(0x12, packed().counted(opened.select_response).view());
}

reply use_channel(const request& asked) {
  constexpr std::uint8_t channel_to_close_tlv = 0x11;
  if (!protocol::qmi::find_tlv(asked.tlvs, channel_to_close_tlv)) return open_channel(asked);
  const auto slot = take<std::uint8_t>(asked, slot_tlv);
  return asked.state.uicc.close_channel(slot, take<std::uint8_t>(asked, channel_to_close_tlv));
}

// Card status, by logical slot.

/// Application states.
constexpr std::uint8_t pin_required = 2;
constexpr std::uint8_t puk_required = 3;
constexpr std::uint8_t ready = 7;

std::uint8_t application_state(pin_state pin) {
  if (pin == pin_state::blocked) return puk_required;
  return pin == pin_state::not_verified ? pin_required : ready;
}

packed usim_in(unsigned physical, usim& card) {
  constexpr std::uint8_t usim_type = 2;
  constexpr std::uint8_t personalisation_ready = 2;
  packed out;
  out.u8(usim_type).u8(application_state(card.status(physical, 1).state)).u8(personalisation_ready);
  out.u8(0).u8(0).u8(0).counted(aid_of(application::usim));
  out.u8(0);  // there is no UPIN in the place of PIN 1
  for (unsigned pin = 1; pin <= usim::pins; ++pin) {
    const pin_status is = card.status(physical, pin);
    out.u8(static_cast<std::uint8_t>(is.state)).u8(is.retries).u8(is.unblock_retries);
  }
  return out;
}

/// State, UPIN state and retries, error, applications.
packed card_of(error what, const card& found, unsigned physical, usim& usim) {
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
    const error what = slots.look_logical(logical, found);
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

reply get_card_status(const request& asked) {
  constexpr std::uint8_t extended_wanted_tlv = 0x10;
  const auto extended = find_integer<std::uint8_t>(asked.tlvs, extended_wanted_tlv);
  const card_status status = read_cards(asked.state);
  tlv_writer out;
  out.bytes(0x10, plain_status(status).view());
  if (extended.value_or(0) != 0) out.bytes(0x13, extended_status(status).view());
  return out;
}

// Slot status, by physical slot.

constexpr std::uint8_t uicc_atr[] = {0x3B, 0x03, 0x54, 0x56, 0x4B};

tlv_writer slot_status(modem& state) {
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
  return tlv_writer().bytes(0x10, states.view()).bytes(0x11, cards.view()).bytes(0x12, eids.view());
}

reply get_slot_status(const request& asked) {
  return slot_status(asked.state);
}

reply register_events(const request& asked) {
  constexpr std::uint32_t of_cards = 1U << 0;
  constexpr std::uint32_t of_slots = 1U << 4;
  const auto mask = take<std::uint32_t>(asked, 0x01);
  asked.state.watchers.set(asked.from, watched::card_status, (mask & of_cards) != 0);
  asked.state.watchers.set(asked.from, watched::slot_status, (mask & of_slots) != 0);
  return tlv_writer().integer(0x10, mask & (of_cards | of_slots));
}

constexpr tlv_row slot_tlvs[] = {{0x01, "slot"}};
constexpr tlv_row card_status_request_tlvs[] = {{0x10, "extended status"}};
constexpr tlv_row card_status_tlvs[] = {{0x10, "card status", shown_as::bytes},
                                        {0x13, "extended card status", shown_as::bytes}};
constexpr tlv_row power_on_tlvs[] = {
    {0x01, "slot"}, {0x10, "ignore hot-swap switch"}, {0x11, "card mode"}};
constexpr tlv_row send_apdu_request_tlvs[] = {
    {0x01, "slot"}, {0x02, "APDU", shown_as::bytes}, {0x10, "channel"}, {0x11, "procedure bytes"}};
constexpr tlv_row send_apdu_tlvs[] = {{0x10, "APDU", shown_as::bytes}};
constexpr tlv_row open_channel_request_tlvs[] = {
    {0x01, "slot"}, {0x10, "AID", shown_as::bytes}, {0x11, "file control information"}};
constexpr tlv_row channel_request_tlvs[] = {{0x01, "slot"},
                                            {0x10, "AID", shown_as::bytes},
                                            {0x11, "channel to close"},
                                            {0x12, "file control information"},
                                            {0x13, "terminate application"}};
constexpr tlv_row channel_tlvs[] = {{0x10, "channel"},
                                    {0x11, "card result", shown_as::bytes},
                                    {0x12, "select response", shown_as::bytes}};
constexpr tlv_row switch_slot_tlvs[] = {{0x01, "logical slot"}, {0x02, "physical slot"}};
constexpr tlv_row slot_status_tlvs[] = {{0x10, "slots", shown_as::bytes},
                                        {0x11, "cards", shown_as::bytes},
                                        {0x12, "EIDs", shown_as::bytes}};
constexpr tlv_row eid_tlvs[] = {{0x10, "EID", shown_as::bytes}};

constexpr message_row rows[] = {
    {0x002A, "register for refresh", accept},
    {0x002C, "complete refresh", accept},
    {0x002E, "register events", register_events},
    {uim_get_card_status_v01, "get card status", get_card_status, card_status_request_tlvs,
     card_status_tlvs},
    {uim_power_down_v01, "power off", power_off, slot_tlvs},
    {uim_power_up_v01, "power on", power_on, power_on_tlvs},
    {uim_send_apdu_v01, "send APDU", send_apdu, send_apdu_request_tlvs, send_apdu_tlvs},
    {uim_logical_channel_v01, "logical channel", use_channel, channel_request_tlvs, channel_tlvs},
    {uim_open_logical_channel_v01, "open logical channel", open_channel, open_channel_request_tlvs,
     channel_tlvs},
    {0x0044, "register for all refreshes", accept},
    {uim_switch_slot_v01, "switch slot", switch_slot, switch_slot_tlvs},
    {uim_get_slot_status_v01, "get slot status", get_slot_status, {}, slot_status_tlvs},
    {uim_get_eid_v01, "get EID", get_eid, slot_tlvs, eid_tlvs},
};

}  // namespace

void indicate_cards(modem& state, reply& out) {
  tlv_writer cards;
  cards.bytes(0x10, plain_status(read_cards(state)).view());
  indicate(out, state, watched::card_status, {{}, 0x0032, cards.take(), uim_service_id_v01});
  indicate(out, state, watched::slot_status,
           {{}, 0x0048, slot_status(state).take(), uim_service_id_v01});
}

std::span<const message_row> uim_messages() {
  return rows;
}

}  // namespace sim
