#include "simulator/services/nas.h"

#include <algorithm>
#include <iterator>

#include "simulator/services/handlers.h"

namespace sim {
namespace {

using protocol::qmi::error;
using protocol::qmi::tlv_writer;

constexpr std::uint8_t radio_lte = 8;

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

}  // namespace

reply get_signal_strength(const request& asked) {
  const lte_cell lte = seen_now(asked).lte;
  reply out;
  out.tlvs.bytes(0x01, packed().s8(lte.rssi()).u8(radio_lte).view())
      .standard_response(error::none)
      // How far below 0 dBm, in a list.
      .bytes(0x11, packed().u16(1).s8(-lte.rssi()).u8(radio_lte).view())
      .bytes(0x16, packed().s8(lte.rsrq).u8(radio_lte).view())
      .bytes(0x17, packed().s16(10 * lte.sinr).view())
      .bytes(0x18, packed().s16(lte.rsrp).view());
  return out;
}

reply get_rf_band_info(const request& asked) {
  const lte_cell lte = seen_now(asked).lte;
  const std::uint16_t band = band_number(lte.band);
  reply out;
  out.tlvs.bytes(0x01, packed().u8(1).u8(radio_lte).u16(band).u16(narrow_channel(lte)).view())
      .standard_response(error::none)
      .bytes(0x11, packed().u8(1).u8(radio_lte).u16(band).u32(lte.dl_earfcn).view())
      .bytes(0x12, packed().u8(1).u8(radio_lte).u32(bandwidth_number(lte.resource_blocks)).view());
  return out;
}

reply get_carriers(const request& asked) {
  const lte_cell lte = seen_now(asked).lte;
  const std::uint16_t band = band_number(lte.band);
  reply out = error::none;
  packed primary;
  primary.u16(lte.pci)
      .u16(narrow_channel(lte))
      .u32(bandwidth_number(lte.resource_blocks))
      .u16(band);
  out.tlvs.bytes(0x13, primary.view());
  return out;
}

reply get_signal_info(const request& asked) {
  const radio_values seen = seen_now(asked);
  const lte_cell& lte = seen.lte;
  const nr_cell& nr = seen.nr;
  return tlv_writer()
      .bytes(0x14, packed().s8(lte.rssi()).s8(lte.rsrq).s16(lte.rsrp).s16(10 * lte.sinr).view())
      .bytes(0x17, packed().s16(nr.rsrp).s16(10 * nr.sinr).view())
      .bytes(0x18, packed().s16(nr.rsrq).view());
}

namespace {

constexpr message_row rows[] = {
    {0x0002, "set event report", accept},
    {0x0003, "register indications", register_nas_indications},
    {nas_get_signal_strength_v01, "get signal strength", get_signal_strength,
     nas_signal_strength_request_tlvs, nas_signal_strength_response_tlvs},
    {0x0021, "scan networks", scan_networks},
    {0x0022, "initiate network register", register_at_network},
    {0x0023, "attach or detach", attach_to_packet_service},
    {0x0024, "get serving system", get_serving_system},
    {0x0025, "get home network", get_home_network},
    {0x0026, "get preferred networks", get_preferred_networks},
    {nas_get_rf_band_info_v01, "get RF band info", get_rf_band_info, {}, nas_rf_band_response_tlvs},
    {0x0033, "set system selection preference", set_selection},
    {0x0034, "get system selection preference", get_selection},
    {0x0039, "get operator name", get_operator_name},
    {0x0043, "get cell location info", get_cell_location},
    {0x0044, "get PLMN name", get_plmn_name},
    {0x004D, "get system info", get_system_info},
    {nas_get_signal_info_v01,
     "get signal info",
     get_signal_info,
     {},
     nas_signal_info_response_tlvs},
    {0x0050, "config signal info", accept},
    {0x005A, "get tx rx info", get_transmission},
    {0x0067, "force network search", accept},
    {0x006C, "config signal info", accept},
    {0x007D, "get network time", get_network_time},
    {0x0089, "get DRX", tell_number<std::uint32_t, 1, 0x10>},
    {0x00AC, "get LTE carriers", get_carriers},
};

}  // namespace

std::span<const message_row> nas_messages() {
  return rows;
}

}  // namespace sim
