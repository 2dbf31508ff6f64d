// UIM: the files of a card, and the PINs that guard them.
#include <string_view>

#include "simulator/modem/ber_tlv.h"
#include "simulator/services/handlers.h"
#include "simulator/services/indications.h"
#include "simulator/services/messages.h"

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qmi::error;
using protocol::qmi::tlv_writer;

constexpr std::uint8_t session_tlv = 0x01;
constexpr std::uint8_t subject_tlv = 0x02;  ///< a file, or a PIN and codes
constexpr std::uint8_t range_tlv = 0x03;

/// Status words of a card.
constexpr std::uint16_t sw_done = 0x9000;
constexpr std::uint16_t sw_not_found = 0x6A82;
constexpr std::uint16_t sw_no_record = 0x6A83;
constexpr std::uint16_t sw_not_allowed = 0x6982;
constexpr std::uint16_t sw_pin_blocked = 0x6983;
constexpr std::uint16_t sw_wrong_pin = 0x63C0;  ///< plus the tries that are left

std::array<std::uint8_t, 2> big_endian(std::uint16_t value) {
  return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
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
  demand(asked.state.uicc.look_logical(row->slot, on.found));
  if (!on.found.has_usim()) refuse(error::no_sim);
  return on;
}

/// Says why in the card's words too.
[[noreturn]] void refuse_as_card(error why, std::uint16_t status) {
  reply out = why;
  out.tlvs.bytes(0x10, big_endian(status));
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
  fields in(asked, range_tlv);
  const auto first = in.next<std::uint16_t>();
  const auto count = in.next<std::uint16_t>();
  in.end();
  return {first, count};
}

reply data_read(byte_view data) {
  return tlv_writer()
      .bytes(0x10, big_endian(sw_done))
      .bytes(0x11, packed().counted<std::uint16_t>(data).view());
}

reply read_transparent(const request& asked) {
  const card_file file = find_file(asked, true);
  const auto [offset, length] = take_range(asked);
  if (file.type != file_type::transparent) return error::invalid_argument;
  const byte_view data(file.content);
  if (offset > data.size() || length > data.size() - offset) return error::invalid_argument;
  return data_read(data.subspan(offset, length == 0 ? data.size() - offset : length));
}

/// A file with records has one.
reply read_record(const request& asked) {
  const card_file file = find_file(asked, true);
  const auto [number, length] = take_range(asked);
  if (file.type != file_type::linear_fixed) return error::invalid_argument;
  if (number != 1) refuse_as_card(error::invalid_argument, sw_no_record);
  const byte_view record(file.content);
  if (length > record.size()) return error::invalid_argument;
  return data_read(length == 0 ? record : record.first(length));
}

/// The card's own words, which clients show: a template of file descriptor and file id.
std::vector<std::uint8_t> description_of(const card_file& file) {
  constexpr std::uint8_t coding = 0x21;
  std::vector<std::uint8_t> descriptor{0x78, coding};
  if (file.type == file_type::transparent) descriptor[0] = 0x41;
  if (file.type == file_type::linear_fixed) {
    descriptor = {0x42, coding, 0, static_cast<std::uint8_t>(file.content.size()), 1};
  }
  std::vector<std::uint8_t> content = ber::made(0x82, descriptor);
  ber::append(content, 0x83, big_endian(file.id));
  return ber::made(0x62, content);
}

reply get_file_attributes(const request& asked) {
  constexpr std::uint8_t always = 0;
  constexpr std::uint8_t never = 1;
  constexpr std::uint8_t single_key = 4;
  const card_file file = find_file(asked, false);
  const auto size = static_cast<std::uint16_t>(file.content.size());
  const bool has_record = file.type == file_type::linear_fixed;
  packed value;
  value.u16(size).u16(file.id).u8(static_cast<std::uint8_t>(file.type));
  value.u16(has_record ? size : 0).u16(has_record ? 1 : 0);
  value.u8(file.needs_pin ? single_key : always).u16(file.needs_pin ? 1 : 0);  // to read: PIN 1
  for (int action = 0; action < 4; ++action) value.u8(never).u16(0);
  value.counted<std::uint16_t>(description_of(file));
  return tlv_writer().bytes(0x10, big_endian(sw_done)).bytes(0x11, value.view());
}

pin_request take_pin_request(const request& asked, bool has_switch, bool has_next) {
  pin_request got;
  got.slot = find_card(asked).slot;
  fields in(asked, subject_tlv);
  got.pin = in.next<std::uint8_t>();
  if (has_switch) got.on = in.next<std::uint8_t>() != 0;
  got.code = text_of(in.counted());
  if (has_next) got.next = text_of(in.counted());
  in.end();
  if (got.pin < 1 || got.pin > usim::pins) refuse(error::invalid_argument);
  return got;
}

std::uint16_t status_word(error result, std::uint8_t left) {
  if (result == pin_result::wrong) return static_cast<std::uint16_t>(sw_wrong_pin | left);
  return result == pin_result::blocked ? sw_pin_blocked : sw_done;
}

template <error (usim::*act)(const pin_request& got), bool has_switch, bool has_next>
reply answer_pin(const request& asked) {
  const pin_request got = take_pin_request(asked, has_switch, has_next);
  usim& on = asked.state.usim;
  const error result = (on.*act)(got);
  const auto left = on.status(got.slot, got.pin);
  reply out = result;
  out.tlvs.bytes(0x10, packed().u8(left.retries).u8(left.unblock_retries).view());
  if (result != pin_result::not_changed) {
    out.tlvs.bytes(0x13, big_endian(status_word(result, left.retries)));
    indicate_cards(asked.state, out);
    indicate_network(asked.state, out);
  }
  return out;
}

constexpr message_row rows[] = {
    {0x0020, "read transparent", read_transparent},
    {0x0021, "read record", read_record},
    {0x0024, "get file attributes", get_file_attributes},
    {0x0025, "set PIN protection", answer_pin<&usim::enable, true, false>},
    {0x0026, "verify PIN", answer_pin<&usim::verify, false, false>},
    {0x0027, "unblock PIN", answer_pin<&usim::unblock, false, true>},
    {0x0028, "change PIN", answer_pin<&usim::change, false, true>},
};

}  // namespace

std::span<const message_row> uim_file_messages() {
  return rows;
}

}  // namespace sim
