// The vendor's statistics service: records of what the radio measures, by data id, once the feature
// is switched on. A restart switches it off.
//
// The records, packed and little-endian, f32 in dBm or dB:
//   LTE carrier      u8 version | u8 | u32 earfcn | u16 pci | u8 serving | u16 antennas, a bit each
//                    | f32 RSRP, RSRQ, RSSI, SNR for each antenna
//   NR RSSI, SNR     u32 version | f32 for each antenna
//   NR antennas      u32 version | u8 before and after for each receive, then each transmit path
//   NR carrier       u32 version | f32 RSRP for each antenna | f32 RSRQ
//   WCDMA, GSM       u8 version | f32 RSSI of two antennas
//   antenna info     u8 version | u8 antennas | u16 path | u16 signal path | u8 before | u8 after
#include <algorithm>
#include <iterator>

#include "services/vendor_stats_v01.h"
#include "simulator/modem/receive_paths.h"
#include "simulator/services/handlers.h"
#include "simulator/services/messages.h"

namespace sim {
namespace {

using protocol::qmi::error;
using protocol::qmi::tlv_writer;

constexpr std::uint8_t version = 1;
constexpr std::uint32_t nr_version = 1;

/// What a record is made from.
struct measured {
  radio_values seen;
  antenna_switch antennas;
};

packed lte_carrier_record(const measured& now, unsigned carrier) {
  const lte_cell cell = lte_carrier(now.seen.lte, carrier);
  packed out;
  out.u8(version).u8(0).u32(cell.dl_earfcn).u16(cell.pci).u8(1).u16((1U << receive_antennas) - 1);
  for (unsigned antenna = 0; antenna < receive_antennas; ++antenna) {
    const lte_cell there = at_antenna(cell, antenna);
    out.f32(there.rsrp).f32(there.rsrq).f32(there.rssi()).f32(there.sinr);
  }
  return out;
}

packed nr_rssi(const measured& now, unsigned /*carrier*/) {
  packed out = packed().u32(nr_version);
  for (unsigned antenna = 0; antenna < receive_antennas; ++antenna) {
    out.f32(rssi_at_antenna(rssi(now.seen.nr), antenna));
  }
  return out;
}

packed nr_snr(const measured& now, unsigned /*carrier*/) {
  packed out = packed().u32(nr_version);
  for (unsigned antenna = 0; antenna < receive_antennas; ++antenna) {
    out.f32(at_antenna(now.seen.nr, antenna).sinr);
  }
  return out;
}

packed nr_antennas(const measured& now, unsigned /*carrier*/) {
  const auto& [before, after] = now.antennas;
  packed out = packed().u32(nr_version);
  for (std::size_t path = 0; path < before.receive.size(); ++path) {
    out.u8(before.receive.at(path)).u8(after.receive.at(path));
  }
  for (std::size_t path = 0; path < before.transmit.size(); ++path) {
    out.u8(before.transmit.at(path)).u8(after.transmit.at(path));
  }
  return out;
}

packed nr_carrier_record(const measured& now, unsigned carrier) {
  const nr_cell cell = nr_carrier(now.seen.nr, carrier);
  packed out = packed().u32(nr_version);
  for (unsigned antenna = 0; antenna < receive_antennas; ++antenna) {
    out.f32(at_antenna(cell, antenna).rsrp);
  }
  return out.f32(cell.rsrq);
}

packed two_antennas(double rssi) {
  return packed().u8(version).f32(rssi_at_antenna(rssi, 0)).f32(rssi_at_antenna(rssi, 1));
}
packed wcdma(const measured& now, unsigned /*carrier*/) {
  return two_antennas(now.seen.wcdma.rssi);
}
packed gsm(const measured& now, unsigned /*carrier*/) {
  return two_antennas(now.seen.gsm.rssi);
}

packed antenna_info(const measured& now, unsigned /*carrier*/) {
  const auto& [before, after] = now.antennas;
  packed out = packed().u8(version).u8(receive_antennas);
  out.u16(after.receive[0]).u16(after.transmit[0]);
  return out.u8(before.configuration).u8(after.configuration);
}

struct record_row {
  std::uint32_t id;
  unsigned carrier;
  packed (*make)(const measured& now, unsigned carrier);
};
constexpr record_row records[] = {
    {0x52, 0, lte_carrier_record},
    {0x67, 1, lte_carrier_record},
    {0x68, 2, lte_carrier_record},
    {0x69, 3, lte_carrier_record},
    {0x6A, 4, lte_carrier_record},
    {0x6B, 5, lte_carrier_record},
    {0x6C, 6, lte_carrier_record},
    {0x5E, 0, nr_rssi},
    {0x70, 0, nr_snr},
    {0x71, 0, nr_antennas},
    {0x87, 0, nr_carrier_record},
    {6, 1, nr_carrier_record},
    {7, 2, nr_carrier_record},
    {0x6E, 0, wcdma},
    {0x6F, 0, gsm},
    {0x64, 0, antenna_info},
};

/// The handler ends unless all of these are there.
void require(const request& asked, std::initializer_list<std::uint8_t> tlvs) {
  for (const std::uint8_t tlv : tlvs) {
    if (!protocol::qmi::find_tlv(asked.tlvs, tlv)) refuse(error::missing_argument);
  }
}

/// Error 26 when nothing changes.
reply switch_feature(const request& asked) {
  require(asked, {0x01, 0x10});
  const auto feature = take<std::uint32_t>(asked, 0x01);
  const auto enable = take<std::uint8_t>(asked, 0x10);
  if (feature != vendor_stats_collection_v01) return error::not_supported;
  if (enable > 1) return error::invalid_argument;
  bool& is_on = asked.state.statistics_on;
  if (is_on == (enable == 1)) return error::no_effect;
  is_on = enable == 1;
  return error::none;
}

/// An entry for each id that is known and measured; error 69 while the feature is off.
reply get_statistics(const request& asked) {
  require(asked, {0x01, 0x02, 0x03});
  const auto subscription = take<std::uint16_t>(asked, 0x01);
  const auto number = take<std::uint16_t>(asked, 0x02);
  fields list(asked, 0x03);
  std::vector<std::uint32_t> ids(list.next<std::uint8_t>());
  for (std::uint32_t& id : ids) id = list.next<std::uint32_t>();
  list.end();
  if (subscription >= card_slots || ids.size() > vendor_stats_max_ids_v01) {
    return error::invalid_argument;
  }
  if (!asked.state.statistics_on) return error::disabled;

  std::uint8_t found = 0;
  packed entries;
  const radio& air = asked.state.radio;
  const auto seen = asked.state.seen_by(subscription);
  const antenna_switch antennas = last_antenna_switch(air, air.now());
  for (const std::uint32_t id : ids) {
    const auto* const row = std::ranges::find(records, id, &record_row::id);
    if (row == std::end(records) || !seen) continue;
    const packed record = row->make({*seen, antennas}, row->carrier);
    entries.u16(subscription).u16(number).u32(id).counted<std::uint16_t>(record.view());
    ++found;
  }
  return tlv_writer().bytes(0x10, packed().u8(found).raw(entries.view()).view());
}

constexpr tlv_row switch_request_tlvs[] = {{0x01, "feature"}, {0x10, "enable"}, {0x11, "option"}};
constexpr tlv_row get_request_tlvs[] = {
    {0x01, "subscription"}, {0x02, "number"}, {0x03, "data ids", shown_as::bytes}};
constexpr tlv_row get_response_tlvs[] = {{0x10, "entries", shown_as::bytes}};
constexpr message_row rows[] = {
    {vendor_stats_feature_v01, "switch feature", switch_feature, switch_request_tlvs},
    {vendor_stats_get_v01, "get statistics", get_statistics, get_request_tlvs, get_response_tlvs},
};

}  // namespace

std::span<const message_row> statistics_messages() {
  return rows;
}

}  // namespace sim
