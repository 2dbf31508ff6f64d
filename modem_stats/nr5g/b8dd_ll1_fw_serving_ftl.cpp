// Log 0xB8DD, NR5G LL1 firmware frequency and time loop: filtered SNR of four receive chains.
// Layout: docs/formats/nr5g_ml1_ll1.md.
#include "modem_stats/conversions.h"
#include "modem_stats/nr5g/snr_head.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"

void modem_stats_parse_b8dd_diag_log_nr5g_ll1_fw_serving_ftl(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  in.check_version(version, {7});
  const f32 snr0 = modem_stats_nr5g_snr(in.bits(at_byte<u32>("snr0", 76)));
  const f32 snr1 = modem_stats_nr5g_snr(in.bits(at_byte<u32>("snr1", 80)));
  const f32 snr2 = modem_stats_nr5g_snr(in.bits(at_byte<u32>("snr2", 84)));
  const f32 snr3 = modem_stats_nr5g_snr(in.bits(at_byte<u32>("snr3", 88)));
  in.print("version = %d, snr0 = %.2f, snr1 = %.2f, snr2 = %.2f, snr3 = %.2f", version, snr0, snr1,
           snr2, snr3);
  in.publish(nr5g_ll1_fw_serving_ftl_record, "version"_f = version, "snr0"_f = snr0,
             "snr1"_f = snr1, "snr2"_f = snr2, "snr3"_f = snr3,
             "pci"_f = in.peek(snr_head::pci, nr5g_no_pci),
             "arfcn"_f = in.peek(at_byte<u32>("arfcn", 92), nr5g_no_arfcn),
             "carrier_index"_f = in.peek(snr_head::carrier_index, nr5g_no_carrier));
}
