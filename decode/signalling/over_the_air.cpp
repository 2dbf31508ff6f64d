#include "decode/signalling/over_the_air.h"

#include <algorithm>

namespace decode::signalling {

namespace {

using modem_stats::rejection;
using protocol::byte_view;
using protocol::load_le;

const pdu_row* find_pdu(std::span<const pdu_row> rows, std::uint8_t number) {
  const auto found = std::ranges::find(rows, number, &pdu_row::number);
  return found == rows.end() ? nullptr : &*found;
}

}  // namespace

const ota_version* find_version(std::span<const ota_version> rows, std::uint32_t number) {
  const auto found = std::ranges::find(rows, number, &ota_version::number);
  return found == rows.end() ? nullptr : &*found;
}

reading read_ota(const ota_version& version, byte_view payload) {
  const ota_layout& at = version.layout;
  if (payload.size() < at.message) return rejected(rejection::length, version.number);
  const byte_view rest = payload.subspan(at.message);
  const auto wrong = check_length(load_le<std::uint16_t>(payload.subspan(at.length)), rest.size());
  if (wrong != rejection::none) return rejected(wrong, version.number);
  const auto* pdu = find_pdu(version.pdus, payload[at.pdu]);
  if (pdu == nullptr) pdu = find_pdu(version.more_pdus, payload[at.pdu]);
  const std::uint8_t part = at.part == 0 ? whole_message : payload[at.part];
  if (pdu == nullptr || part > last_part) return rejected(rejection::value, version.number);

  message found{.what = pdu->what,
                .way = direction_of(pdu->what),
                .bytes = rest,
                .version = version.number,
                .cell = load_le<std::uint16_t>(payload.subspan(at.cell))};
  const byte_view channel = payload.subspan(at.channel);
  found.channel = at.channel_size == sizeof(std::uint16_t) ? load_le<std::uint16_t>(channel)
                                                           : load_le<std::uint32_t>(channel);
  auto made = accepted(found);
  made.part = part;
  return made;
}

}  // namespace decode::signalling
