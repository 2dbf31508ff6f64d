#include "decode/signalling/reader.h"

#include <algorithm>
#include <functional>
#include <iterator>

#include "decode/signalling/gsmtap.h"

namespace decode::signalling {

namespace {

using modem_stats::rejection;

struct log_row {
  std::uint16_t code;
  std::string_view name;
  reading (*read)(std::uint16_t code, protocol::byte_view payload, scratch& room);
};
constexpr log_row rows[] = {
    {0x156E, "ims_sip_message", read_sip},
    {0x412F, "wcdma_rrc", read_umts_rrc},
    {0x512F, "gsm_rr", read_gsm_rr},
    {0x5226, "gprs_rlc_mac", read_gprs_mac},
    {0x5230, "gprs_layer_3", read_layer_3},
    {0x5B2F, "gsm_rr_of_radio", read_gsm_rr},
    {0x713A, "umts_layer_3", read_layer_3},
    {0x7B3A, "umts_layer_3_of_radio", read_layer_3},
    {0xB0C0, "lte_rrc", read_lte_rrc},
    {0xB0E0, "lte_nas_esm_protected_down", read_nas},
    {0xB0E1, "lte_nas_esm_protected_up", read_nas},
    {0xB0E2, "lte_nas_esm_down", read_nas},
    {0xB0E3, "lte_nas_esm_up", read_nas},
    {0xB0EA, "lte_nas_emm_protected_down", read_nas},
    {0xB0EB, "lte_nas_emm_protected_up", read_nas},
    {0xB0EC, "lte_nas_emm_down", read_nas},
    {0xB0ED, "lte_nas_emm_up", read_nas},
    {0xB197, "lte_mib", read_lte_mib},
    {0xB800, "nr_nas_sm_down", read_nas},
    {0xB801, "nr_nas_sm_up", read_nas},
    {0xB808, "nr_nas_mm_protected_down", read_nas},
    {0xB809, "nr_nas_mm_protected_up", read_nas},
    {0xB80A, "nr_nas_mm_down", read_nas},
    {0xB80B, "nr_nas_mm_up", read_nas},
    {0xB814, "nr_nas_mm_container", read_nas},
    {0xB821, "nr_rrc", read_nr_rrc},
};
static_assert(std::ranges::adjacent_find(rows, std::ranges::greater_equal(), &log_row::code) ==
              std::end(rows));

/// More than there are at a time, unless what is sent is garbage.
constexpr std::size_t most_open = 8;

/// More does not fit into the datagram that GSMTAP is.
constexpr std::size_t most_message = 65507 - gsmtap_header_size;

/// The dissector reads an RRCReconfigurationComplete only within a UL-DCCH message: the five bits
/// that choose it there are put in front, and zeros behind.
void put_into_channel(message& found, scratch& room) {
  constexpr unsigned front = 5;
  constexpr unsigned chosen = 1;
  scratch shifted;
  unsigned before = chosen;
  for (const auto byte : found.bytes) {
    const unsigned both = before << 8 | byte;
    shifted.push_back(static_cast<std::uint8_t>(both >> front));
    before = both & ((1U << front) - 1);
  }
  shifted.push_back(static_cast<std::uint8_t>(before << (8 - front)));
  room = std::move(shifted);
  found.what.number = nr_ul_dcch;
  found.bytes = room;
  found.note = "RRCReconfigurationComplete, put into a UL-DCCH message";
}

}  // namespace

std::string_view log_name(std::uint16_t code) {
  const auto* const row = std::ranges::find(rows, code, &log_row::code);
  return row == std::end(rows) ? std::string_view() : row->name;
}

const std::bitset<65536>& logs() {
  static const std::bitset<65536> all = [] {
    std::bitset<65536> codes;
    for (const auto& row : rows) codes.set(row.code);
    return codes;
  }();
  return all;
}

reading reader::read(std::uint16_t code, std::uint32_t radio, protocol::byte_view payload) {
  const auto* const row = std::ranges::lower_bound(rows, code, {}, &log_row::code);
  auto now = row->read(code, payload, room_);
  if (now.radio == 0) now.radio = radio;
  if (now.part != whole_message) join(code, now.radio, now);
  if (now.found && now.found->bytes.size() > most_message) {
    now.outcome.rejected = rejection::count;
    now.found.reset();
  }
  if (now.found && now.found->what == kind{family::nr_rrc, nr_rrc_reconf_compl}) {
    put_into_channel(*now.found, room_);
  }
  return now;
}

/// Parts come in the order of their numbers, the last one whenever.
void reader::join(std::uint16_t code, std::uint32_t radio, reading& now) {
  has_read_part_ = true;
  const auto bytes = now.found->bytes;
  const auto what = now.found->what;
  auto one = std::ranges::find_if(open_, [&](const open_message& each) {
    return each.code == code && each.radio == radio && each.what == what;
  });
  const bool follows = one != open_.end() && (now.part == last_part || now.part == one->part + 1);
  if (!follows && one != open_.end()) {
    open_.erase(one);
    ++given_up_;
  }
  if (follows) {
    one->part = now.part;
    one->bytes.insert(one->bytes.end(), bytes.begin(), bytes.end());
  } else if (now.part == 1) {
    if (open_.size() == most_open) {
      open_.erase(open_.begin());
      ++given_up_;
    }
    open_.push_back({code, radio, what, now.part, {bytes.begin(), bytes.end()}});
  } else {
    now = rejected(rejection::value, now.outcome.version);
    now.radio = radio;
    return;
  }
  if (now.part == last_part) {
    room_ = std::move(one->bytes);
    open_.erase(one);
    now.found->bytes = room_;
  } else {
    now.found.reset();
  }
}

}  // namespace decode::signalling
