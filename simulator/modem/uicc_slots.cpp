#include "simulator/modem/uicc_slots.h"

#include <algorithm>
#include <array>
#include <optional>

#include "simulator/modem/byte_strings.h"

namespace sim {
namespace {

using bytes = std::vector<std::uint8_t>;
using protocol::byte_view;
using protocol::qmi::error;

constexpr unsigned euicc_slot = 2;
constexpr std::uint8_t basic_channel = 0;
constexpr std::uint8_t last_channel = 3;

/// The ICCIDs of the SIMs: 8900101000000000035 and 8900101000000000043.
constexpr const char* sim_iccids[card_slots] = {"98 00 01 01 00 00 00 00 30 f5",
                                                "98 00 01 01 00 00 00 00 40 f3"};

constexpr std::array<std::uint8_t, 16> usim_aid = {0xA0, 0x00, 0x00, 0x00, 0x87, 0x10, 0x02, 0xFF,
                                                   0xFF, 0xFF, 0xFF, 0x89, 0x00, 0x00, 0x01, 0x00};

/// Status words of cards.
enum class status : std::uint16_t {
  done = 0x9000,
  wrong_length = 0x6700,
  wrong_data = 0x6A80,
  not_found = 0x6A82,
  wrong_parameters = 0x6A86,
  no_reference_data = 0x6A88,
  unknown_instruction = 0x6D00,
};

bytes with_status(bytes answer, status words) {
  const auto value = static_cast<std::uint16_t>(words);
  answer.push_back(static_cast<std::uint8_t>(value >> 8));
  answer.push_back(static_cast<std::uint8_t>(value));
  return answer;
}

/// Which of a slot's cards has power. Only one slot has two of them.
constexpr std::int64_t none_connected = 0;
constexpr std::int64_t first_connected = 1;
constexpr std::int64_t second_connected = 2;

const setting& connected_card(unsigned physical) {
  return setting_of::connected[physical - 1];
}

/// The application whose AID begins with the bytes given, by which short names select as well.
application find_application(const card& on, byte_view aid) {
  constexpr std::size_t shortest_aid = 5;
  const auto is_named = [aid](application each) {
    const byte_view whole = aid_of(each);
    return aid.size() >= shortest_aid && aid.size() <= whole.size() &&
           std::ranges::equal(aid, whole.first(aid.size()));
  };
  if (on.is_euicc && is_named(application::isd_r)) return application::isd_r;
  if (on.has_usim() && is_named(application::usim)) return application::usim;
  return application::none;
}

bytes select_response_of(application what) {
  return what == application::isd_r ? euicc::select_isd_r() : bytes();
}

/// A command to a card: header, data, and the expected length, which our card ignores.
struct command_apdu {
  std::uint8_t instruction = 0;
  std::uint8_t p1 = 0;
  byte_view data;
};

std::optional<command_apdu> parse_apdu(byte_view apdu) {
  constexpr std::size_t header = 4;
  if (apdu.size() < header) return std::nullopt;
  command_apdu parsed{apdu[1], apdu[2], {}};
  if (apdu.size() <= header + 1) return parsed;
  const std::size_t length = apdu[header];
  const byte_view rest = apdu.subspan(header + 1);
  if (length == 0 || rest.size() < length || rest.size() > length + 1) return std::nullopt;
  parsed.data = rest.first(length);
  return parsed;
}

bytes select(const card& on, const command_apdu& command, application& selected) {
  constexpr std::uint8_t by_name = 0x04;
  if (command.p1 != by_name) return with_status({}, status::wrong_parameters);
  const application found = find_application(on, command.data);
  if (found == application::none) return with_status({}, status::not_found);
  selected = found;
  return with_status(select_response_of(found), status::done);
}

bytes store_data(euicc& euicc, const command_apdu& command) {
  constexpr std::uint8_t only_block_of_tlvs = 0x91;
  if (command.p1 != only_block_of_tlvs) return with_status({}, status::wrong_parameters);
  bytes answer = euicc.ask_isd_r(command.data);
  if (answer.empty()) {
    return with_status(
        {}, euicc::needs_keys(command.data) ? status::no_reference_data : status::wrong_data);
  }
  return with_status(std::move(answer), status::done);
}

}  // namespace

byte_view aid_of(application what) {
  switch (what) {
    case application::none:
      break;
    case application::usim:
      return usim_aid;
    case application::isd_r:
      return isd_r_aid;
  }
  return {};
}

unsigned uicc_slots::physical_of(unsigned logical) {
  const bool crossed = settings_.get(setting_of::slots_crossed) != 0;
  return crossed ? 1 + card_slots - logical : logical;
}

bool uicc_slots::has_card(unsigned physical) {
  return cards_.present(physical - 1);
}

error uicc_slots::look(unsigned physical, card& found) {
  if (!has_card(physical)) return card_error::no_card;
  const auto connected = settings_.get(connected_card(physical));
  if (connected == none_connected) return card_error::no_power;
  found.is_euicc = physical == euicc_slot && connected == first_connected;
  if (!found.is_euicc) {
    found.iccid = bytes_of_hex(sim_iccids[physical - 1]);
  } else if (auto profile = euicc_.profiles().enabled()) {
    found.iccid = std::move(profile->iccid);
  }
  return card_error::none;
}

error uicc_slots::look_logical(unsigned logical, card& found) {
  if (logical < 1 || logical > active_slots) return card_error::no_slot;
  return look(physical_of(logical), found);
}

error uicc_slots::power_down(unsigned logical) {
  if (logical < 1 || logical > active_slots) return card_error::no_slot;
  connect(physical_of(logical), false);
  return card_error::none;
}

error uicc_slots::power_up(unsigned logical, bool blindly) {
  if (logical < 1 || logical > active_slots) return card_error::no_slot;
  const unsigned physical = physical_of(logical);
  if (!blindly && !has_card(physical)) return card_error::no_card;
  connect(physical, true);
  return card_error::none;
}

void uicc_slots::connect(unsigned physical, bool up) {
  constexpr std::int64_t first_word = 0xFFFFFFFF;
  std::int64_t connected = up ? first_connected : none_connected;
  if (up && physical == euicc_slot &&
      (settings_.get(setting_of::switch_notice) & first_word) != 0) {
    connected = second_connected;
  }
  settings_.set(connected_card(physical), connected);
  usim_.power_lost(physical);
  close_channels(physical);
}

void uicc_slots::close_channels(unsigned physical) {
  std::erase_if(channels_, [physical](const auto& each) { return each.first.first == physical; });
}

bool uicc_slots::assign(unsigned logical, unsigned physical) {
  if (physical_of(logical) == physical) return false;
  settings_.set(setting_of::slots_crossed, logical == physical ? 0 : 1);
  channels_.clear();
  return true;
}

error uicc_slots::open_channel(const client& who, unsigned logical, byte_view aid,
                               opened_channel& opened) {
  card on;
  if (const error wrong = look_logical(logical, on); wrong != card_error::none) return wrong;
  const application found = find_application(on, aid);
  if (found == application::none) return card_error::no_application;
  const unsigned physical = physical_of(logical);
  opened.id = basic_channel + 1;
  while (channels_.contains({physical, opened.id})) ++opened.id;
  if (opened.id > last_channel) return card_error::no_channel_free;
  channels_[{physical, opened.id}] = {who, found};
  opened.select_response = with_status(select_response_of(found), status::done);
  return card_error::none;
}

error uicc_slots::close_channel(unsigned logical, std::uint8_t id) {
  if (logical < 1 || logical > active_slots) return card_error::no_slot;
  if (id == basic_channel || channels_.erase({physical_of(logical), id}) == 0) {
    return card_error::no_channel;
  }
  return card_error::none;
}

error uicc_slots::transmit(unsigned logical, std::uint8_t channel, byte_view apdu, bytes& answer) {
  constexpr std::uint8_t select_instruction = 0xA4;
  constexpr std::uint8_t store_data_instruction = 0xE2;
  card on;
  if (const error wrong = look_logical(logical, on); wrong != card_error::none) return wrong;
  const auto at = std::pair(physical_of(logical), channel);
  if (channel != basic_channel && !channels_.contains(at)) return card_error::no_channel;
  application& selected = channels_[at].selected;
  const auto command = parse_apdu(apdu);
  if (!command) {
    answer = with_status({}, status::wrong_length);
  } else if (command->instruction == select_instruction) {
    answer = select(on, *command, selected);
  } else if (command->instruction == store_data_instruction && selected == application::isd_r) {
    answer = store_data(euicc_, *command);
  } else {
    answer = with_status({}, status::unknown_instruction);
  }
  return card_error::none;
}

void uicc_slots::drop_client(const client& gone) {
  std::erase_if(channels_, [&](const auto& each) { return each.second.owner == gone; });
}

void uicc_slots::restart() {
  channels_.clear();
  for (unsigned physical = 1; physical <= card_slots; ++physical) connect(physical, true);
}

}  // namespace sim
