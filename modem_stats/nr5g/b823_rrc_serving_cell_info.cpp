// Log 0xB823, NR5G RRC serving cell info: the cell that the phone has selected.
// Layout: docs/formats/nr5g_mac_rrc.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_mac_rrc.h"

namespace modem_stats {
namespace {

struct cell_layout {
  unsigned version;
  unsigned cell;  // byte; from here on all versions are the same
  bit_field<u16> pci;
};
constexpr cell_layout layouts[] = {
    {0x00004, 6, at_byte<u16>("pci", 4)},
    {0x30000, 14, at_byte<u16>("pci", 4)},
    {0x30002, 17, at_byte<u16>("pci", 7)},
    {0x30003, 17, at_byte<u16>("pci", 7)},
};

namespace at {
constexpr auto dl_earfcn = at_byte<u32>("dl_earfcn", 0);
constexpr auto ul_earfcn = at_byte<u32>("ul_earfcn", 4);
constexpr auto dl_bw = at_byte<u16>("dl_bw", 8);
constexpr auto ul_bw = at_byte<u16>("ul_bw", 10);
constexpr auto cgi = at_byte<u64>("cgi", 12);
constexpr auto mcc = at_byte<u16>("mcc", 20);
constexpr auto mnc_num = at_byte<u8>("mnc_num", 22);
constexpr auto mnc = at_byte<u16>("mnc", 23);
constexpr auto allow_access = at_byte<u8>("allow_access", 25);
constexpr auto tac = at_byte<u32>("tac", 26);
constexpr auto freq_band_ind = at_byte<u16>("freq_band_ind", 30);
}  // namespace at

constexpr u16 highest_pci = 1007;

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b823_diag_log_nr5g_rrc_serving_cell_info(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  const auto& layout = in.layout_for(version, layouts);
  const auto pci = in.bits(layout.pci);
  in.block_at(layout.cell);
  const auto dl_earfcn = in.bits(at::dl_earfcn);
  const auto ul_earfcn = in.bits(at::ul_earfcn);
  const auto dl_bw = in.bits(at::dl_bw);
  const auto ul_bw = in.bits(at::ul_bw);
  const auto cgi = in.bits(at::cgi);
  const auto mcc = in.bits(at::mcc);
  const auto mnc_num = in.bits(at::mnc_num);
  const auto mnc = in.bits(at::mnc);
  const auto allow_access = in.bits(at::allow_access);
  const auto tac = in.bits(at::tac);
  const auto freq_band_ind = in.bits(at::freq_band_ind);
  in.print("version = %d, mcc = %d, mnc_num %d, mnc %d, tac %d, cgi %lu, pci %d", version, mcc,
           mnc_num, mnc, tac, cgi, pci);
  in.print("freq_band_ind = %d, dl_earfcn = %d, dl_bw %d, ul_earfcn %d, ul_bw %d, allow_access %d",
           freq_band_ind, dl_earfcn, dl_bw, ul_earfcn, ul_bw, allow_access);
  in.check_valid(pci <= highest_pci, pci);
  in.publish(nr5g_rrc_serving_cell_record, "version"_f = version, "mcc"_f = mcc,
             "mnc_num"_f = mnc_num, "mnc"_f = mnc, "tac"_f = tac, "cgi"_f = cgi, "pci"_f = pci,
             "freq_band_ind"_f = freq_band_ind, "dl_earfcn"_f = dl_earfcn, "dl_bw"_f = dl_bw,
             "ul_earfcn"_f = ul_earfcn, "ul_bw"_f = ul_bw, "allow_access"_f = allow_access);
}
