// Log 0xB14E, LTE LL1 PUSCH CSF: a record of the rank and channel quality that the phone reports.
// Layout: docs/formats/lte.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/lte.h"

namespace modem_stats {
namespace {

struct report_layout {
  unsigned version;
  bit_field<u8> rank_idx;
  bit_field<u16> wideband_cqi_cw0;
};

constexpr report_layout row(unsigned version, unsigned rank_bit, unsigned rank_width,
                            unsigned cqi_bit) {
  return {version, {"rank_idx", rank_bit, rank_width}, {"wideband_cqi_cw0", cqi_bit, 4}};
}

constexpr report_layout layouts[] = {
    row(22, 28, 1, 37),  row(23, 25, 1, 37),  row(42, 25, 1, 37),  row(101, 26, 6, 37),
    row(102, 26, 2, 37), row(103, 26, 2, 37), row(142, 36, 2, 47),
};

constexpr u8 rank_4 = 3;

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b14e_diag_log_lte_pusch_csf(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  const auto& layout = in.layout_for(version, layouts);
  const auto rank_idx = in.bits(layout.rank_idx);
  const auto wideband_cqi_cw0 = in.bits(layout.wideband_cqi_cw0);
  in.print("version = %d, rank_idx = %d, wideband_cqi_cw0 = %d", version, rank_idx,
           wideband_cqi_cw0);
  in.check_valid(rank_idx <= rank_4, rank_idx, "rank_idx");
  in.publish(lte_pusch_csf_record, "version"_f = version, "rank_idx"_f = rank_idx,
             "wideband_cqi_cw0"_f = wideband_cqi_cw0);
}
