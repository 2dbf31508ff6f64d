// The records, packed and little-endian, f32 in dBm or dB:
//   LTE carrier      u8 version | u8 | u32 earfcn | u16 pci | u8 serving | u16 antennas, a bit each
//   |
//                    for each antenna f32 RSRP, RSRQ, RSSI, SNR
//   NR RSSI, SNR     u32 version | f32 for each antenna
//   NR antennas      u32 version | u8 before and after for each receive, then each transmit path
//   NR carrier       u32 version | f32 RSRP for each antenna | f32 RSRQ
//   WCDMA, GSM       u8 version | f32 RSSI of two antennas
//   antenna info     u8 version | u8 antennas | u16 path | u16 signal path | u8 before | u8 after
#include "simulator/services/statistics.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <optional>
#include <vector>

#include "simulator/modem/modem.h"
#include "simulator/modem/receive_paths.h"

namespace sim {
namespace {

using protocol::append_le;
using protocol::qmi::error;
using protocol::qmi::tlv_writer;
using bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t version = 1;
constexpr std::uint32_t nr_version = 1;

void append_level(bytes& out, double level) {
  append_le(out, std::bit_cast<std::uint32_t>(static_cast<float>(level)));
}

/// What a record is made from.
struct measured {
  radio_values seen;
  antenna_switch antennas;
};

using record_writer = void (*)(bytes& out, const measured& now, unsigned carrier);

void write_lte_carrier(bytes& out, const measured& now, unsigned carrier) {
  const lte_cell cell = lte_carrier(now.seen.lte, carrier);
  append_le(out, version);
  append_le(out, std::uint8_t{0});
  append_le(out, cell.dl_earfcn);
  append_le(out, cell.pci);
  append_le(out, std::uint8_t{1});
  append_le(out, static_cast<std::uint16_t>((1U << receive_antennas) - 1));
  for (unsigned antenna = 0; antenna < receive_antennas; ++antenna) {
    const lte_cell there = at_antenna(cell, antenna);
    for (const double level : {there.rsrp, there.rsrq, there.rssi(), there.sinr}) {
      append_level(out, level);
    }
  }
}

void write_nr_rssi(bytes& out, const measured& now, unsigned /*carrier*/) {
  append_le(out, nr_version);
  for (unsigned antenna = 0; antenna < receive_antennas; ++antenna) {
    append_level(out, rssi_at_antenna(rssi(now.seen.nr), antenna));
  }
}

void write_nr_snr(bytes& out, const measured& now, unsigned /*carrier*/) {
  append_le(out, nr_version);
  for (unsigned antenna = 0; antenna < receive_antennas; ++antenna) {
    append_level(out, at_antenna(now.seen.nr, antenna).sinr);
  }
}

void write_nr_antennas(bytes& out, const measured& now, unsigned /*carrier*/) {
  append_le(out, nr_version);
  const auto& [before, after] = now.antennas;
  for (std::size_t path = 0; path < before.receive.size(); ++path) {
    append_le(out, before.receive.at(path));
    append_le(out, after.receive.at(path));
  }
  for (std::size_t path = 0; path < before.transmit.size(); ++path) {
    append_le(out, before.transmit.at(path));
    append_le(out, after.transmit.at(path));
  }
}

void write_nr_carrier(bytes& out, const measured& now, unsigned carrier) {
  const nr_cell cell = nr_carrier(now.seen.nr, carrier);
  append_le(out, nr_version);
  for (unsigned antenna = 0; antenna < receive_antennas; ++antenna) {
    append_level(out, at_antenna(cell, antenna).rsrp);
  }
  append_level(out, cell.rsrq);
}

void write_two_antennas(bytes& out, double rssi) {
  append_le(out, version);
  append_level(out, rssi_at_antenna(rssi, 0));
  append_level(out, rssi_at_antenna(rssi, 1));
}

void write_wcdma(bytes& out, const measured& now, unsigned /*carrier*/) {
  write_two_antennas(out, now.seen.wcdma.rssi);
}

void write_gsm(bytes& out, const measured& now, unsigned /*carrier*/) {
  write_two_antennas(out, now.seen.gsm.rssi);
}

void write_antenna_info(bytes& out, const measured& now, unsigned /*carrier*/) {
  const auto& [before, after] = now.antennas;
  append_le(out, version);
  append_le(out, static_cast<std::uint8_t>(receive_antennas));
  append_le(out, std::uint16_t{after.receive[0]});
  append_le(out, std::uint16_t{after.transmit[0]});
  append_le(out, before.configuration);
  append_le(out, after.configuration);
}

struct record_row {
  std::uint32_t id;
  unsigned carrier;
  record_writer write;
};
constexpr record_row records[] = {
    {0x52, 0, write_lte_carrier},  {0x67, 1, write_lte_carrier}, {0x68, 2, write_lte_carrier},
    {0x69, 3, write_lte_carrier},  {0x6A, 4, write_lte_carrier}, {0x6B, 5, write_lte_carrier},
    {0x6C, 6, write_lte_carrier},  {0x5E, 0, write_nr_rssi},     {0x70, 0, write_nr_snr},
    {0x71, 0, write_nr_antennas},  {0x87, 0, write_nr_carrier},  {6, 1, write_nr_carrier},
    {7, 2, write_nr_carrier},      {0x6E, 0, write_wcdma},       {0x6F, 0, write_gsm},
    {0x64, 0, write_antenna_info},
};

struct get_request {
  std::uint16_t subscription = 0;
  std::uint16_t number = 0;
  bytes ids;
};

error parse(protocol::byte_view tlvs, get_request& parsed) {
  using protocol::qmi::find_integer;
  using protocol::qmi::find_tlv;
  for (std::uint8_t type = 0x01; type <= 0x03; ++type) {
    if (!find_tlv(tlvs, type)) return error::missing_argument;
  }
  const auto subscription = find_integer<std::uint16_t>(tlvs, 0x01);
  const auto number = find_integer<std::uint16_t>(tlvs, 0x02);
  const auto list = *find_tlv(tlvs, 0x03);
  if (!subscription || !number || list.empty() ||
      list.size() != 1 + list[0] * sizeof(std::uint32_t)) {
    return error::malformed_message;
  }
  if (*subscription >= card_slots || list[0] > vendor_stats_max_ids_v01) {
    return error::invalid_argument;
  }
  parsed = {*subscription, *number, {list.begin() + 1, list.end()}};
  return error::none;
}

}  // namespace

reply switch_statistics(const request& asked) {
  using protocol::qmi::find_integer;
  using protocol::qmi::find_tlv;
  if (!find_tlv(asked.tlvs, 0x01) || !find_tlv(asked.tlvs, 0x10)) return error::missing_argument;
  const auto feature = find_integer<std::uint32_t>(asked.tlvs, 0x01);
  const auto enable = find_integer<std::uint8_t>(asked.tlvs, 0x10);
  if (!feature || !enable) return error::malformed_message;
  if (*feature != vendor_stats_collection_v01) return error::not_supported;
  if (*enable > 1) return error::invalid_argument;
  bool& is_on = asked.state.statistics_on;
  if (is_on == (*enable == 1)) return error::no_effect;
  is_on = *enable == 1;
  return error::none;
}

reply get_statistics(const request& asked) {
  get_request wanted;
  if (const error wrong = parse(asked.tlvs, wanted); wrong != error::none) return wrong;
  if (!asked.state.statistics_on) return error::disabled;

  std::optional<measured> now;
  if (const auto seen = asked.state.seen_by(wanted.subscription)) {
    const radio& air = asked.state.radio;
    now = measured{*seen, last_antenna_switch(air, air.now())};
  }
  bytes entries = {0};
  protocol::byte_reader ids(wanted.ids);
  while (const auto id = ids.take<std::uint32_t>()) {
    const auto* const row = std::ranges::find(records, *id, &record_row::id);
    if (row == std::end(records) || !now) continue;
    bytes record;
    row->write(record, *now, row->carrier);
    ++entries[0];
    append_le(entries, wanted.subscription);
    append_le(entries, wanted.number);
    append_le(entries, *id);
    append_le(entries, static_cast<std::uint16_t>(record.size()));
    entries.insert(entries.end(), record.begin(), record.end());
  }
  return tlv_writer().bytes(0x10, entries);
}

}  // namespace sim
