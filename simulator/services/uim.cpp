// Power, slots, channels and what goes through them.
#include "simulator/services/uim.h"

#include <optional>

#include "simulator/services/handlers.h"
#include "simulator/services/network_indications.h"

namespace sim {
namespace {

using protocol::byte_reader;
using protocol::byte_view;
using protocol::qmi::error;

constexpr std::uint8_t slot_tlv = 0x01;

/// The elements of a TLV that is a count of this width and as many bytes.
template <typename Count>
std::optional<byte_view> counted_bytes(byte_view value) {
  byte_reader in(value);
  const auto count = in.take<Count>();
  if (!count || in.rest().size() != *count) return std::nullopt;
  return in.rest();
}

std::vector<std::uint8_t> with_count(byte_view data) {
  std::vector<std::uint8_t> out(1 + data.size());
  out[0] = static_cast<std::uint8_t>(data.size());
  std::copy(data.begin(), data.end(), out.begin() + 1);
  return out;
}

/// After a success, tells those who have asked of the cards' changes.
reply with_news(const request& asked, error result) {
  reply out = result;
  if (result == error::none) {
    indicate_cards(asked.state, out);
    indicate_network(asked.state, out);
  }
  return out;
}

/// Opens a channel to the AID of TLV 0x10.
reply open_to_aid(const request& asked, std::uint8_t slot, byte_view aid_tlv) {
  constexpr std::uint8_t done[] = {0x90, 0x00};
  const auto aid = counted_bytes<std::uint8_t>(aid_tlv);
  if (!aid) return error::malformed_message;
  opened_channel opened;
  if (const auto wrong = error_of(asked.state.uicc.open_channel(asked.from, slot, *aid, opened));
      wrong != error::none) {
    return wrong;
  }
  reply out = error::none;
  out.tlvs.integer(0x10, opened.id)
      .bytes(0x11, done)
      .bytes(0x12, with_count(opened.select_response));
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
  std::uint8_t slot = 0;
  if (const error wrong = take(asked, slot_tlv, slot); wrong != error::none) return wrong;
  return with_news(asked, error_of(asked.state.uicc.power_down(slot)));
}

reply power_on_card(const request& asked) {
  constexpr std::uint8_t ignore_hot_swap_tlv = 0x10;
  std::uint8_t slot = 0;
  if (const error wrong = take(asked, slot_tlv, slot); wrong != error::none) return wrong;
  const auto ignore = protocol::qmi::find_integer<std::uint8_t>(asked.tlvs, ignore_hot_swap_tlv);
  return with_news(asked, error_of(asked.state.uicc.power_up(slot, ignore.value_or(0) != 0)));
}

reply switch_card_slot(const request& asked) {
  constexpr std::uint8_t physical_slot_tlv = 0x02;
  std::uint8_t logical = 0;
  std::uint32_t physical = 0;
  if (const error wrong = take(asked, slot_tlv, logical); wrong != error::none) return wrong;
  if (const error wrong = take(asked, physical_slot_tlv, physical); wrong != error::none) {
    return wrong;
  }
  for (const std::uint32_t slot : {std::uint32_t{logical}, physical}) {
    if (slot < 1 || slot > card_slots) return error::invalid_argument;
  }
  return with_news(asked,
                   asked.state.uicc.assign(logical, physical) ? error::none : error::no_effect);
}

reply get_card_eid(const request& asked) {
  constexpr std::uint8_t eid_tlv = 0x10;
  std::uint8_t slot = 0;
  if (const error wrong = take(asked, slot_tlv, slot); wrong != error::none) return wrong;
  card found;
  if (const error wrong = error_of(asked.state.uicc.look_logical(slot, found));
      wrong != error::none) {
    return wrong;
  }
  reply out = error::none;
  // A card that is not an eUICC has none; asking for it is no mistake.
  if (found.is_euicc) out.tlvs.bytes(eid_tlv, with_count(euicc_eid));
  return out;
}

reply send_card_apdu(const request& asked) {
  constexpr std::uint8_t apdu_tlv = 0x02;
  constexpr std::uint8_t channel_tlv = 0x10;
  std::uint8_t slot = 0;
  if (const error wrong = take(asked, slot_tlv, slot); wrong != error::none) return wrong;
  const auto value = protocol::qmi::find_tlv(asked.tlvs, apdu_tlv);
  if (!value) return error::missing_argument;
  const auto apdu = counted_bytes<std::uint16_t>(*value);
  if (!apdu) return error::malformed_message;
  const auto channel = protocol::qmi::find_integer<std::uint8_t>(asked.tlvs, channel_tlv);

  std::vector<std::uint8_t> said;
  if (const error wrong =
          error_of(asked.state.uicc.transmit(slot, channel.value_or(0), *apdu, said));
      wrong != error::none) {
    return wrong;
  }
  std::vector<std::uint8_t> counted;
  protocol::append_le(counted, static_cast<std::uint16_t>(said.size()));
  counted.insert(counted.end(), said.begin(), said.end());
  reply out = error::none;
  out.tlvs.bytes(0x10, counted);
  return out;
}

reply open_card_channel(const request& asked) {
  constexpr std::uint8_t aid_tlv = 0x10;
  std::uint8_t slot = 0;
  if (const error wrong = take(asked, slot_tlv, slot); wrong != error::none) return wrong;
  const auto aid = protocol::qmi::find_tlv(asked.tlvs, aid_tlv);
  return aid ? open_to_aid(asked, slot, *aid) : error::missing_argument;
}

reply use_card_channel(const request& asked) {
  constexpr std::uint8_t channel_to_close_tlv = 0x11;
  if (!protocol::qmi::find_tlv(asked.tlvs, channel_to_close_tlv)) {
    return open_card_channel(asked);
  }
  std::uint8_t slot = 0;
  std::uint8_t channel = 0;
  if (const error wrong = take(asked, slot_tlv, slot); wrong != error::none) return wrong;
  if (const error wrong = take(asked, channel_to_close_tlv, channel); wrong != error::none) {
    return wrong;
  }
  return error_of(asked.state.uicc.close_channel(slot, channel));
}

}  // namespace sim
