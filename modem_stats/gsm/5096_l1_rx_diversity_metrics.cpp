// Log 0x5096, GSM layer 1 receive diversity: primary and diversity level. House layout: positions
// are our own. Layout: docs/formats/wcdma_gsm_ims.md.
#include "modem_stats/conversions.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/wcdma_gsm_ims.h"

void modem_stats_parse_5096_diag_log_gsm_l1_rx_diversity_metrics(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  in.check_version(version, {1});
  in.skip(3);
  const auto rx_prx_old = in.next<i16>("rx_prx_old");
  const auto rx_drx_old = in.next<i16>("rx_drx_old");
  const f32 rx_prx = modem_stats_gsm_rssi(rx_prx_old);
  const f32 rx_drx = modem_stats_gsm_rssi(rx_drx_old);
  in.print("version = %d, rx_prx_old = %d, rx_drx_old = %d, rx_prx = %.2f, rx_drx = %.2f", version,
           rx_prx_old, rx_drx_old, rx_prx, rx_drx);
  in.publish(gsm_l1_rx_diversity_record, "version"_f = version, "rx_prx"_f = rx_prx,
             "rx_drx"_f = rx_drx);
}
