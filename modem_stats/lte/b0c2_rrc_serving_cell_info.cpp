// Log 0xB0C2, LTE RRC serving cell info: a record of the serving cell.
// Layout: docs/formats/lte.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/lte.h"

namespace modem_stats {
namespace {

struct cell_layout {
  unsigned version;
  bit_field<u32> dl_earfcn;
  bit_field<u32> ul_earfcn;
  unsigned rest;  // byte
};
constexpr cell_layout layouts[] = {
    {2, {"dl_earfcn", 8 * 3, 16}, {"ul_earfcn", 8 * 5, 16}, 7},
    {3, {"dl_earfcn", 8 * 3, 32}, {"ul_earfcn", 8 * 7, 32}, 11},
};

namespace at {
constexpr auto pci = at_byte<u16>("pci", 1);
// Relative to the rest:
constexpr auto dl_bw = at_byte<u8>("dl_bw", 0);
constexpr auto ul_bw = at_byte<u8>("ul_bw", 1);
constexpr auto cgi = at_byte<u32>("cgi", 2);
constexpr auto tac = at_byte<u16>("tac", 6);
constexpr auto freq_band_ind = at_byte<u32>("freq_band_ind", 8);
constexpr auto mcc = at_byte<u16>("mcc", 12);
constexpr auto mnc_num = at_byte<u8>("mnc_num", 14);
constexpr auto mnc = at_byte<u16>("mnc", 15);
constexpr auto allow_access = at_byte<u8>("allow_access", 17);
}  // namespace at

constexpr u16 max_pci = 503;

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b0c2_diag_log_lte_rrc_serving_cell_info(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  const auto& layout = in.layout_for(version, layouts);
  const auto pci = in.bits(at::pci);
  const auto dl_earfcn = in.bits(layout.dl_earfcn);
  const auto ul_earfcn = in.bits(layout.ul_earfcn);
  in.block_at(layout.rest);
  const auto dl_bw = in.bits(at::dl_bw);
  const auto ul_bw = in.bits(at::ul_bw);
  const auto cgi = in.bits(at::cgi);
  const auto tac = in.bits(at::tac);
  const auto freq_band_ind = in.bits(at::freq_band_ind);
  const auto mcc = in.bits(at::mcc);
  const auto mnc_num = in.bits(at::mnc_num);
  const auto mnc = in.bits(at::mnc);
  const auto allow_access = in.bits(at::allow_access);
  in.print("version = %d, mcc = %d, mnc_num %d, mnc %d, tac %d, cgi %d, pci %d", version, mcc,
           mnc_num, mnc, tac, cgi, pci);
  in.print("freq_band_ind = %d, dl_earfcn = %d, dl_bw %d, ul_earfcn %d, ul_bw %d, allow_access %d",
           freq_band_ind, dl_earfcn, dl_bw, ul_earfcn, ul_bw, allow_access);
  in.check_valid(pci <= max_pci, pci, "pci");
  in.publish(lte_rrc_serving_cell_record, "version"_f = version, "mcc"_f = mcc,
             "mnc_num"_f = mnc_num, "mnc"_f = mnc, "tac"_f = tac, "cgi"_f = cgi, "pci"_f = pci,
             "freq_band_ind"_f = freq_band_ind, "dl_earfcn"_f = dl_earfcn, "dl_bw"_f = dl_bw,
             "ul_earfcn"_f = ul_earfcn, "ul_bw"_f = ul_bw, "allow_access"_f = allow_access);
}
