// The logs of GSM and GPRS, and of the layer 3 of UMTS. None has a version.
#include <algorithm>

#include "decode/signalling/reading.h"

namespace decode::signalling {

namespace {

using modem_stats::rejection;
using protocol::byte_view;
using protocol::load_le;
using enum direction;

constexpr kind layer_3{family::gsm_layer_3, 0};

/// Takes off a radio's number in front, and gives it.
std::uint32_t take_radio(byte_view& payload) {
  if (payload.empty()) return 0;
  const auto radio = payload[0];
  payload = payload.subspan(1);
  return radio;
}

reading found(kind what, direction way, byte_view bytes) {
  return accepted({.what = what, .way = way, .bytes = bytes});
}

struct layer_3_row {
  std::uint16_t code;
  bool has_radio;
  direction way_0;
  direction way_1;
  std::uint8_t length;  // where it is, and its size
  std::uint8_t length_size;
  std::uint8_t message;
  bool is_padded;  // more follows that is not of the message
};
constexpr layer_3_row layer_3_rows[] = {
    {0x5230, false, up, down, 2, 2, 4, true},
    {0x713A, false, down, up, 1, 4, 5, false},
    {0x7B3A, true, down, up, 1, 4, 5, false},
};

/// Channels of GSM, without the bit that tells the direction. Those that only exchange layer 3 are
/// logged without what is below it.
constexpr std::uint8_t downlink_bit = 0x80;
struct gsm_channel_row {
  std::uint8_t number;
  kind what;
};
constexpr gsm_channel_row gsm_channels[] = {
    {0, layer_3},                        // DCCH
    {1, {family::gsm_radio, gsm_bcch}},  // BCCH
    {2, {family::gsm_radio, gsm_rach}},  // RACH
    {3, {family::gsm_radio, gsm_ccch}},  // CCCH
    {4, layer_3},                        // SACCH
    {5, layer_3},                        // SDCCH
    {6, layer_3},                        // FACCH, full rate
    {7, layer_3},                        // FACCH, half rate
    {8, {family::gsm_radio, gsm_rach}},  // RACH without delay
};

constexpr std::size_t gsm_header_size = 3;  // channel, message type, length

constexpr std::uint8_t pacch_channels[] = {0x03, 0x04, 0x83};
constexpr std::uint8_t internal_message = 0x20;
/// The rest of a MAC header, which dissectors expect and the log leaves out: a control message.
constexpr std::uint8_t control_block = 0x40;

}  // namespace

reading read_layer_3(std::uint16_t code, byte_view payload, scratch& /*room*/) {
  const auto& row = *std::ranges::find(layer_3_rows, code, &layer_3_row::code);
  const auto radio = row.has_radio ? take_radio(payload) : 0;
  if (payload.size() < row.message) return rejected(rejection::length, 0);
  const byte_view at = payload.subspan(row.length);
  const std::size_t length = row.length_size == sizeof(std::uint16_t) ? load_le<std::uint16_t>(at)
                                                                      : load_le<std::uint32_t>(at);
  byte_view rest = payload.subspan(row.message);
  if (row.is_padded && length < rest.size()) rest = rest.first(length);
  const auto wrong = payload[0] > 1 ? rejection::value : check_length(length, rest.size());
  if (wrong != rejection::none) return rejected(wrong, 0);
  auto made = found(layer_3, payload[0] == 0 ? row.way_0 : row.way_1, rest);
  made.radio = radio;
  return made;
}

reading read_gsm_rr(std::uint16_t code, byte_view payload, scratch& /*room*/) {
  constexpr std::uint16_t with_radio = 0x5B2F;
  const auto radio = code == with_radio ? take_radio(payload) : 0;
  if (payload.size() < gsm_header_size) return rejected(rejection::length, 0);
  const auto number = static_cast<std::uint8_t>(payload[0] & ~downlink_bit);
  const auto* const row = std::ranges::find(gsm_channels, number, &gsm_channel_row::number);
  const byte_view rest = payload.subspan(gsm_header_size);
  const auto wrong =
      row == std::end(gsm_channels) ? rejection::value : check_length(payload[2], rest.size());
  if (wrong != rejection::none) return rejected(wrong, 0);
  auto made = found(row->what, (payload[0] & downlink_bit) != 0 ? down : up, rest);
  made.radio = radio;
  return made;
}

reading read_gprs_mac(std::uint16_t /*code*/, byte_view payload, scratch& room) {
  if (payload.size() < gsm_header_size) return rejected(rejection::length, 0);
  const direction way = (payload[0] & downlink_bit) != 0 ? down : up;
  byte_view rest = payload.subspan(gsm_header_size);
  const std::size_t length = payload[2];
  if (length < rest.size()) rest = rest.first(length);
  const bool is_known = std::ranges::find(pacch_channels, payload[0]) != std::end(pacch_channels);
  const auto wrong = is_known ? check_length(length, rest.size()) : rejection::value;
  if (wrong != rejection::none) return rejected(wrong, 0);
  if (payload[1] == internal_message) {
    return found({family::undissected, gprs_internal}, way, rest);
  }
  room.assign(1, control_block);
  room.insert(room.end(), rest.begin(), rest.end());
  auto made = found({family::gsm_radio, gsm_pacch}, way, room);
  made.found->note = "first byte added";
  return made;
}

}  // namespace decode::signalling
