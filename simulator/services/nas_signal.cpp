// NAS: the cells, and how well each is received.
#include <iterator>

#include "simulator/modem/receive_paths.h"
#include "simulator/services/messages.h"
#include "simulator/services/nas.h"

namespace sim {
namespace {

using protocol::qmi::error;

constexpr double tenth = 10;

struct band_row {
  std::uint8_t first;  ///< of E-UTRA
  std::uint8_t last;
  std::uint16_t number;  ///< of the first one
};
constexpr band_row bands[] = {
    {1, 14, 120},  {17, 17, 134}, {18, 21, 143}, {24, 25, 147}, {26, 26, 153},
    {28, 30, 158}, {32, 32, 154}, {33, 40, 135}, {41, 43, 149}, {66, 66, 161},
};

std::uint16_t band_number(std::uint8_t band) {
  for (const band_row& row : bands) {
    if (band >= row.first && band <= row.last) {
      return static_cast<std::uint16_t>(row.number + (band - row.first));
    }
  }
  refuse(error::information_unavailable);
}

std::uint32_t bandwidth_number(std::uint8_t resource_blocks) {
  constexpr std::uint8_t widths[] = {6, 15, 25, 50, 75, 100};
  const auto* const row = std::ranges::lower_bound(widths, resource_blocks);
  return static_cast<std::uint32_t>(row - std::begin(widths));
}

/// The channel where a message has 16 bits for it.
std::uint16_t narrow_channel(const lte_cell& cell) {
  constexpr std::uint32_t too_wide = 0xFFFF;
  return static_cast<std::uint16_t>(std::min(cell.dl_earfcn, too_wide));
}

constexpr nas_row signal_strength[] = {
    {0x01, [](const registration& now) { return packed().s8(now.lte.rssi()).u8(radio_lte); }},
    {0x02, "00 00 00 00"},
    // How far below 0 dBm, in a list.
    {0x11,
     [](const registration& now) { return packed().u16(1).s8(-now.lte.rssi()).u8(radio_lte); }},
    {0x16, [](const registration& now) { return packed().s8(now.lte.rsrq).u8(radio_lte); }},
    {0x17, [](const registration& now) { return packed().s16(tenth * now.lte.sinr); }},
    {0x18, [](const registration& now) { return packed().s16(now.lte.rsrp); }},
};

packed one_lte_cell() {
  return packed().u8(1).u8(radio_lte);
}
packed band_of(const registration& now) {
  return one_lte_cell().u16(band_number(now.lte.band));
}
packed bandwidth_of(const registration& now) {
  return one_lte_cell().u32(bandwidth_number(now.lte.resource_blocks));
}
constexpr nas_row rf_band[] = {
    {0x01, [](const registration& now) { return band_of(now).u16(narrow_channel(now.lte)); }},
    {0x02, "00 00 00 00"},
    {0x11, [](const registration& now) { return band_of(now).u32(now.lte.dl_earfcn); }},
    {0x12, bandwidth_of},
};

packed lte_levels(const registration& now) {
  const lte_cell& lte = now.lte;
  return packed().s8(lte.rssi()).s8(lte.rsrq).s16(lte.rsrp).s16(tenth * lte.sinr);
}
constexpr nas_row signal_info[] = {
    {0x14, lte_levels},
    {0x17,
     [](const registration& now) { return packed().s16(now.nr.rsrp).s16(tenth * now.nr.sinr); }},
    {0x18, [](const registration& now) { return packed().s16(now.nr.rsrq); }},
};

packed primary_carrier(const registration& now) {
  const lte_cell& lte = now.lte;
  packed out;
  out.u16(lte.pci).u16(narrow_channel(lte)).u32(bandwidth_number(lte.resource_blocks));
  return out.u16(band_number(lte.band));
}
constexpr nas_row carriers[] = {{0x13, primary_carrier}};

/// As 3GPP TS 24.008 writes a network in three bytes.
packed plmn_of(const radio_network& network) {
  const auto digits = digits_of(network);
  packed out;
  for (const auto& [low, high] : {std::pair(0U, 1U), std::pair(2U, 5U), std::pair(3U, 4U)}) {
    out.u8(static_cast<std::uint8_t>(digits.at(low) | digits.at(high) << 4));
  }
  return out;
}

packed lte_serving_cell(const registration& now) {
  const lte_cell& lte = now.lte;
  const bool is_idle = now.rrc != lte_rrc_state::connected;
  packed out;
  out.u8(is_idle ? 1 : 0).raw(plmn_of(now.network).view());
  out.u16(lte.tracking_area).u32(lte.cell_identity);
  out.u16(narrow_channel(lte)).u16(lte.pci).u8(5).u8(10).u8(8).u8(62).u8(1);
  out.u16(lte.pci).s16(tenth * lte.rsrq).s16(tenth * lte.rsrp).s16(tenth * lte.rssi());
  return out.s16(lte.rsrp + 125);
}
packed nr_serving_cell(const registration& now) {
  const nr_cell& nr = now.nr;
  packed out = plmn_of(now.network);
  out.u8(0).u8(0).u8(1).u64(now.lte.cell_identity).u16(nr.pci);
  return out.s16(tenth * nr.rsrq).s16(tenth * nr.rsrp).s16(tenth * nr.sinr);
}
constexpr nas_row cell_location[] = {
    {0x13, lte_serving_cell},
    {0x1E, "01 00 00 00"},
    {0x2E, [](const registration& now) { return packed().u32(now.nr.arfcn); }},
    {0x2F, nr_serving_cell},
};

reply get_transmission(const request& asked) {
  const auto radio = take<std::uint8_t>(asked, value_tlv);
  const registration seen = registered(asked);
  if (radio != radio_lte && radio != radio_nr) return error::invalid_argument;
  constexpr std::uint32_t no_phase = 0xFFFFFFFF;
  constexpr std::uint8_t chains[receive_antennas] = {0x10, 0x11, 0x15, 0x16};
  reply out = error::none;
  for (unsigned antenna = 0; antenna < receive_antennas; ++antenna) {
    const lte_cell lte = at_antenna(seen.lte, antenna);
    const nr_cell nr = at_antenna(seen.nr, antenna);
    const double power = radio == radio_lte ? lte.rssi() : rssi(nr);
    const double rsrp = radio == radio_lte ? lte.rsrp : nr.rsrp;
    packed chain;
    chain.u8(1).s32(tenth * power).s32(0).s32(0).s32(tenth * rsrp).u32(no_phase);
    out.tlvs.bytes(chains[antenna], chain.view());
  }
  const bool is_sending = seen.rrc == lte_rrc_state::connected;
  out.tlvs.bytes(0x12, packed().u8(is_sending ? 1 : 0).s32(is_sending ? 120 : 0).view());
  return out;
}

constexpr tlv_row strength_request_tlvs[] = {{0x10, "wanted"}};
constexpr tlv_row strength_tlvs[] = {{0x01, "strength", shown_as::bytes},
                                     {0x11, "RSSI", shown_as::bytes},
                                     {0x16, "RSRQ", shown_as::bytes},
                                     {0x17, "LTE SNR"},
                                     {0x18, "LTE RSRP"}};
constexpr tlv_row rf_band_tlvs[] = {
    {0x01, "bands"}, {0x11, "bands, wide channels"}, {0x12, "bandwidths"}};
constexpr tlv_row signal_info_tlvs[] = {
    {0x14, "LTE"}, {0x17, "NR", shown_as::bytes}, {0x18, "NR RSRQ"}};

constexpr message_row rows[] = {
    {nas_get_signal_strength_v01, "get signal strength", tell<signal_strength, registered>,
     strength_request_tlvs, strength_tlvs},
    {nas_get_rf_band_info_v01, "get RF band info", tell<rf_band, registered>, {}, rf_band_tlvs},
    {0x0043, "get cell location info", tell<cell_location, registered>},
    {nas_get_signal_info_v01,
     "get signal info",
     tell<signal_info, registered>,
     {},
     signal_info_tlvs},
    {0x005A, "get tx rx info", get_transmission},
    {0x00AC, "get LTE carriers", tell<carriers, registered>},
};

}  // namespace

std::span<const message_row> nas_signal_messages() {
  return rows;
}

}  // namespace sim
