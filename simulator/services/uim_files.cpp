// UIM: the files of a card, and the PINs that guard them.
#include <string>

#include "simulator/modem/ber_tlv.h"
#include "simulator/services/handlers.h"
#include "simulator/services/network_indications.h"
#include "simulator/services/uim.h"

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qmi::error;
using protocol::qmi::tlv_writer;

constexpr std::uint8_t session_tlv = 0x01;
constexpr std::uint8_t subject_tlv = 0x02;  ///< a file, or a PIN and codes

/// Status words of a card.
constexpr std::uint16_t sw_done = 0x9000;
constexpr std::uint16_t sw_not_found = 0x6A82;
constexpr std::uint16_t sw_no_record = 0x6A83;
constexpr std::uint16_t sw_not_allowed = 0x6982;
constexpr std::uint16_t sw_pin_blocked = 0x6983;
constexpr std::uint16_t sw_wrong_pin = 0x63C0;  ///< plus the tries that are left

std::vector<std::uint8_t> bytes_of(std::uint16_t status) {
  return {static_cast<std::uint8_t>(status >> 8), static_cast<std::uint8_t>(status)};
}

/// The logical slot of each type of session that is with a card or with its USIM.
struct session_row {
  std::uint8_t type;
  unsigned slot;
};
constexpr session_row sessions[] = {{0, 1}, {2, 2}, {4, 1}, {5, 2}, {6, 1}, {7, 2}, {8, 1}, {9, 2}};

struct card_in_use {
  unsigned slot = 0;  ///< the physical one
  card found;
};

/// The card that the session of a request is with.
card_in_use find_card(const request& asked) {
  fields in(asked, session_tlv);
  const auto type = in.next<std::uint8_t>();
  static_cast<void>(in.counted());  // the application's AID
  in.end();
  const auto* const row = std::ranges::find(sessions, type, &session_row::type);
  if (row == std::end(sessions)) refuse(error::invalid_argument);
  card_in_use on{asked.state.uicc.physical_of(row->slot), {}};
  const error wrong = error_of(asked.state.uicc.look_logical(row->slot, on.found));
  if (wrong != error::none) refuse(wrong);
  if (!on.found.has_usim()) refuse(error::no_sim);
  return on;
}

/// Says why in the card's words too.
[[noreturn]] void refuse_as_card(error why, std::uint16_t status) {
  reply out = why;
  out.tlvs.bytes(0x10, bytes_of(status));
  throw refused{std::move(out)};
}

card_file find_file(const request& asked, bool is_read) {
  const card_in_use on = find_card(asked);
  fields in(asked, subject_tlv);
  const auto id = in.next<std::uint16_t>();
  const byte_view steps = in.counted();
  in.end();
  if (steps.size() % 2 != 0) refuse(error::malformed_message);
  std::vector<std::uint16_t> path;
  for (std::size_t i = 0; i < steps.size(); i += 2) {
    path.push_back(protocol::load_le<std::uint16_t>(steps.subspan(i)));
  }
  auto file = usim::find(path, id, on.found.iccid);
  if (!file) refuse_as_card(error::sim_file_not_found, sw_not_found);
  if (is_read && file->needs_pin && !asked.state.usim.is_unlocked(on.slot)) {
    refuse_as_card(error::authentication_failed, sw_not_allowed);
  }
  return *std::move(file);
}

/// Where to begin and how much, 0 for all.
struct range {
  std::uint16_t first;
  std::uint16_t count;
};

range take_range(const request& asked) {
  fields in(asked, 0x03);
  const auto first = in.next<std::uint16_t>();
  const auto count = in.next<std::uint16_t>();
  in.end();
  return {first, count};
}

void write_data(byte_view data, protocol::qmi::tlv_writer& out) {
  out.bytes(0x10, bytes_of(sw_done)).bytes(0x11, packed().counted<std::uint16_t>(data).view());
}

}  // namespace

reply read_card_file(const request& asked) {
  const card_file file = find_file(asked, true);
  const auto [offset, length] = take_range(asked);
  if (file.type != file_type::transparent) return error::invalid_argument;
  const byte_view data(file.records.front());
  if (offset > data.size() || length > data.size() - offset) return error::invalid_argument;
  reply out = error::none;
  write_data(data.subspan(offset, length == 0 ? data.size() - offset : length), out.tlvs);
  return out;
}

reply read_card_record(const request& asked) {
  const card_file file = find_file(asked, true);
  const auto [number, length] = take_range(asked);
  if (file.type != file_type::linear_fixed) return error::invalid_argument;
  if (number < 1 || number > file.records.size()) {
    refuse_as_card(error::invalid_argument, sw_no_record);
  }
  const byte_view data(file.records[number - 1U]);
  if (length > data.size()) return error::invalid_argument;
  reply out = error::none;
  write_data(length == 0 ? data : data.first(length), out.tlvs);
  return out;
}

namespace {

/// The card's own words, which clients show: a template of file descriptor and file id.
std::vector<std::uint8_t> description_of(const card_file& file) {
  constexpr std::uint8_t coding = 0x21;
  std::vector<std::uint8_t> descriptor{0x78, coding};
  if (file.type == file_type::transparent) descriptor[0] = 0x41;
  if (file.type == file_type::linear_fixed) {
    descriptor = {0x42, coding, 0, static_cast<std::uint8_t>(file.records.front().size()),
                  static_cast<std::uint8_t>(file.records.size())};
  }
  std::vector<std::uint8_t> content = ber::made(0x82, descriptor);
  ber::append(content, 0x83, bytes_of(file.id));
  return ber::made(0x62, content);
}

}  // namespace

reply get_card_file_attributes(const request& asked) {
  constexpr std::uint8_t always = 0;
  constexpr std::uint8_t never = 1;
  constexpr std::uint8_t single_key = 4;
  const card_file file = find_file(asked, false);
  const auto record = static_cast<std::uint16_t>(file.records.front().size());
  const bool has_records = file.type == file_type::linear_fixed;
  packed value;
  value.u16(static_cast<std::uint16_t>(record * file.records.size())).u16(file.id);
  value.u8(static_cast<std::uint8_t>(file.type)).u16(has_records ? record : 0);
  value.u16(has_records ? static_cast<std::uint16_t>(file.records.size()) : 0);
  value.u8(file.needs_pin ? single_key : always).u16(file.needs_pin ? 1 : 0);  // to read: PIN 1
  for (int action = 0; action < 4; ++action) value.u8(never).u16(0);
  const auto description = description_of(file);
  value.counted<std::uint16_t>(description);
  return tlv_writer().bytes(0x10, bytes_of(sw_done)).bytes(0x11, value.view());
}

namespace {

std::string_view text_of(byte_view bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// What a PIN action is given: the PIN's number, a switch for one of them, and codes.
struct pin_request {
  unsigned slot = 0;
  unsigned pin = 0;
  std::uint8_t on = 0;
  std::string_view first;
  std::string_view second;
};

pin_request take_pin_request(const request& asked, bool has_switch, unsigned codes) {
  pin_request got;
  got.slot = find_card(asked).slot;
  fields in(asked, subject_tlv);
  got.pin = in.next<std::uint8_t>();
  if (has_switch) got.on = in.next<std::uint8_t>();
  got.first = text_of(in.counted());
  if (codes == 2) got.second = text_of(in.counted());
  in.end();
  if (got.pin < 1 || got.pin > usim::pins) refuse(error::invalid_argument);
  return got;
}

struct pin_result_row {
  pin_result result;
  error code;
};
constexpr pin_result_row pin_results[] = {
    {pin_result::done, error::none},
    {pin_result::wrong, error::incorrect_pin},
    {pin_result::blocked, error::pin_blocked},
    {pin_result::not_changed, error::no_effect},
};

std::uint16_t status_word(pin_result result, std::uint8_t left) {
  if (result == pin_result::wrong) return static_cast<std::uint16_t>(sw_wrong_pin | left);
  return result == pin_result::blocked ? sw_pin_blocked : sw_done;
}

pin_result verify(usim& card, const pin_request& got) {
  return card.verify(got.slot, got.pin, got.first);
}
pin_result change(usim& card, const pin_request& got) {
  return card.change(got.slot, got.pin, got.first, got.second);
}
pin_result unblock(usim& card, const pin_request& got) {
  return card.unblock(got.slot, got.pin, got.first, got.second);
}
pin_result set_protection(usim& card, const pin_request& got) {
  return card.enable(got.slot, got.pin, got.on != 0, got.first);
}

template <pin_result (*act)(usim& card, const pin_request& got), bool has_switch, unsigned codes>
reply answer_pin(const request& asked) {
  const pin_request got = take_pin_request(asked, has_switch, codes);
  usim& on = asked.state.usim;
  const pin_result result = act(on, got);
  const auto left = on.status(got.slot, got.pin);
  reply out = std::ranges::find(pin_results, result, &pin_result_row::result)->code;
  out.tlvs.bytes(0x10, packed().u8(left.retries).u8(left.unblock_retries).view());
  if (result != pin_result::not_changed) {
    out.tlvs.bytes(0x13, bytes_of(status_word(result, left.retries)));
    indicate_cards(asked.state, out);
    indicate_network(asked.state, out);
  }
  return out;
}

}  // namespace

reply register_card_events(const request& asked) {
  constexpr std::uint32_t card_status = 1U << 0;
  constexpr std::uint32_t slot_status = 1U << 4;
  const auto mask = take<std::uint32_t>(asked, 0x01);
  asked.state.watchers.set(asked.from, watched::card_status, (mask & card_status) != 0);
  asked.state.watchers.set(asked.from, watched::slot_status, (mask & slot_status) != 0);
  return tlv_writer().integer(0x10, mask & (card_status | slot_status));
}

namespace {

constexpr message_row rows[] = {
    {0x0020, "read transparent", read_card_file},
    {0x0021, "read record", read_card_record},
    {0x0024, "get file attributes", get_card_file_attributes},
    {0x0025, "set PIN protection", answer_pin<set_protection, true, 1>},
    {0x0026, "verify PIN", answer_pin<verify, false, 1>},
    {0x0027, "unblock PIN", answer_pin<unblock, false, 2>},
    {0x0028, "change PIN", answer_pin<change, false, 2>},
    {0x002A, "register for refresh", accept},
    {0x002C, "complete refresh", accept},
    {0x002E, "register events", register_card_events},
    {uim_get_card_status_v01, "get card status", get_card_status, uim_card_status_request_tlvs,
     uim_card_status_tlvs},
    {uim_power_down_v01, "power off", power_off_card, uim_slot_tlvs, uim_result_tlvs},
    {uim_power_up_v01, "power on", power_on_card, uim_power_on_tlvs, uim_result_tlvs},
    {uim_send_apdu_v01, "send APDU", send_card_apdu, uim_send_apdu_request_tlvs,
     uim_send_apdu_tlvs},
    {uim_logical_channel_v01, "logical channel", use_card_channel, uim_channel_request_tlvs,
     uim_channel_tlvs},
    {uim_open_logical_channel_v01, "open logical channel", open_card_channel,
     uim_open_channel_request_tlvs, uim_channel_tlvs},
    {0x0044, "register for all refreshes", accept},
    {uim_switch_slot_v01, "switch slot", switch_card_slot, uim_switch_slot_tlvs, uim_result_tlvs},
    {uim_get_slot_status_v01, "get slot status", get_slot_status, {}, uim_slot_status_tlvs},
    {uim_get_eid_v01, "get EID", get_card_eid, uim_slot_tlvs, uim_eid_tlvs},
};

}  // namespace

std::span<const message_row> uim_messages() {
  return rows;
}

}  // namespace sim
