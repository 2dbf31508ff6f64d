// Power, slots, channels and what goes through them.
#include "simulator/services/uim.h"

#include "simulator/services/handlers.h"
#include "simulator/services/network_indications.h"

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qmi::error;
using protocol::qmi::tlv_writer;

constexpr std::uint8_t slot_tlv = 0x01;

/// The elements of a TLV that is a count of this width and as many bytes.
template <typename Count>
byte_view take_counted(const request& asked, std::uint8_t tlv) {
  fields in(asked, tlv);
  const byte_view bytes = in.counted<Count>();
  in.end();
  return bytes;
}

/// What the cards refuse ends the handler.
void check(card_error result) {
  if (const error wrong = error_of(result); wrong != error::none) refuse(wrong);
}

/// A success, of which those are told who have asked of the cards' changes.
reply with_news(const request& asked) {
  reply out = error::none;
  indicate_cards(asked.state, out);
  indicate_network(asked.state, out);
  return out;
}

}  // namespace

error error_of(card_error what) {
  switch (what) {
    case card_error::none:
      return error::none;
    case card_error::no_slot:
    case card_error::no_channel:
      return error::invalid_argument;
    case card_error::no_card:
      return error::no_sim;
    case card_error::no_power:
      return error::sim_not_initialized;
    case card_error::no_application:
      return error::sim_file_not_found;
    case card_error::no_channel_free:
      return error::insufficient_resources;
  }
  return error::internal;
}

reply power_off_card(const request& asked) {
  const auto slot = take<std::uint8_t>(asked, slot_tlv);
  check(asked.state.uicc.power_down(slot));
  return with_news(asked);
}

reply power_on_card(const request& asked) {
  constexpr std::uint8_t ignore_hot_swap_tlv = 0x10;
  const auto slot = take<std::uint8_t>(asked, slot_tlv);
  const auto ignore = protocol::qmi::find_integer<std::uint8_t>(asked.tlvs, ignore_hot_swap_tlv);
  check(asked.state.uicc.power_up(slot, ignore.value_or(0) != 0));
  return with_news(asked);
}

reply switch_card_slot(const request& asked) {
  constexpr std::uint8_t physical_slot_tlv = 0x02;
  const auto logical = take<std::uint8_t>(asked, slot_tlv);
  const auto physical = take<std::uint32_t>(asked, physical_slot_tlv);
  for (const std::uint32_t slot : {std::uint32_t{logical}, physical}) {
    if (slot < 1 || slot > card_slots) return error::invalid_argument;
  }
  return asked.state.uicc.assign(logical, physical) ? with_news(asked) : error::no_effect;
}

reply get_card_eid(const request& asked) {
  constexpr std::uint8_t eid_tlv = 0x10;
  const auto slot = take<std::uint8_t>(asked, slot_tlv);
  card found;
  check(asked.state.uicc.look_logical(slot, found));
  reply out = error::none;
  // A card that is not an eUICC has none; asking for it is no mistake.
  if (found.is_euicc) out.tlvs.bytes(eid_tlv, packed().counted(euicc_eid).view());
  return out;
}

reply send_card_apdu(const request& asked) {
  constexpr std::uint8_t apdu_tlv = 0x02;
  constexpr std::uint8_t channel_tlv = 0x10;
  const auto slot = take<std::uint8_t>(asked, slot_tlv);
  const byte_view apdu = take_counted<std::uint16_t>(asked, apdu_tlv);
  const auto channel = protocol::qmi::find_integer<std::uint8_t>(asked.tlvs, channel_tlv);

  std::vector<std::uint8_t> said;
  check(asked.state.uicc.transmit(slot, channel.value_or(0), apdu, said));
  return tlv_writer().bytes(0x10, packed().counted<std::uint16_t>(said).view());
}

reply open_card_channel(const request& asked) {
  constexpr std::uint8_t aid_tlv = 0x10;
  const auto slot = take<std::uint8_t>(asked, slot_tlv);
  opened_channel opened;
  check(asked.state.uicc.open_channel(asked.from, slot, take_counted<std::uint8_t>(asked, aid_tlv),
                                      opened));
  constexpr std::uint8_t done[] = {0x90, 0x00};
  return tlv_writer()
      .integer(0x10, opened.id)
      .bytes(0x11, done)
      .bytes(0x12, packed().counted(opened.select_response).view());
}

reply use_card_channel(const request& asked) {
  constexpr std::uint8_t channel_to_close_tlv = 0x11;
  if (!protocol::qmi::find_tlv(asked.tlvs, channel_to_close_tlv)) {
    return open_card_channel(asked);
  }
  const auto slot = take<std::uint8_t>(asked, slot_tlv);
  return error_of(
      asked.state.uicc.close_channel(slot, take<std::uint8_t>(asked, channel_to_close_tlv)));
}

}  // namespace sim
