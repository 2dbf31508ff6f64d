// Log 0x4179, WCDMA PN search edition 2: receive level of two chains. We infer that the words
// before the search tasks are these levels. Layout: docs/formats/wcdma_gsm_ims.md.
#include "modem_stats/conversions.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/wcdma_gsm_ims.h"

namespace modem_stats {
namespace {

struct head_layout {
  unsigned version;
  unsigned before_levels;  // bytes after the version
  origin from = origin::product;
};
constexpr head_layout layouts[] = {
    {5, 2}, {8, 2}, {1, 0, origin::inferred}, {3, 0, origin::inferred}};

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_4179_diag_log_wcdma_pn_search_edition2(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  const auto& layout = in.layout_for(version, layouts);
  in.skip(layout.before_levels);
  const auto rx_agc_old_0 = in.next<i16>("rx_agc_old_0");
  const auto rx_agc_old_1 = in.next<i16>("rx_agc_old_1");
  const f32 rx_agc_0 = modem_stats_wcdma_rssi(rx_agc_old_0);
  const f32 rx_agc_1 = modem_stats_wcdma_rssi(rx_agc_old_1);
  in.print("version = %d, rx_agc_old_0 = %d, rx_agc_old_1 = %d, rx_agc_0 = %.2f, rx_agc_1 = %.2f",
           version, rx_agc_old_0, rx_agc_old_1, rx_agc_0, rx_agc_1);
  in.publish(wcdma_pn_search_record, "version"_f = version, "rx_agc_0"_f = rx_agc_0,
             "rx_agc_1"_f = rx_agc_1);
}
