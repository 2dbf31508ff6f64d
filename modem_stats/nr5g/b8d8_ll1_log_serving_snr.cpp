// Log 0xB8D8, NR5G LL1 serving SNR of four receive chains. House layout: positions are our own.
// Layout: docs/formats/nr5g_ml1_ll1.md.
#include "modem_stats/conversions.h"
#include "modem_stats/nr5g/snr_head.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"

void modem_stats_parse_b8d8_diag_log_nr5g_ll1_log_serving_snr(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  in.check_version(version, {0x30002});
  const auto snr0 = in.bits(at_byte<u32>("snr0", 12));
  const auto snr1 = in.bits(at_byte<u32>("snr1", 16));
  const auto snr2 = in.bits(at_byte<u32>("snr2", 20));
  const auto snr3 = in.bits(at_byte<u32>("snr3", 24));
  in.print("version = %d, snr0 = %d, snr1 = %d, snr2 = %d, snr3 = %d", version, snr0, snr1, snr2,
           snr3);
  const f32 snr0_f = modem_stats_nr5g_snr(snr0);
  const f32 snr1_f = modem_stats_nr5g_snr(snr1);
  const f32 snr2_f = modem_stats_nr5g_snr(snr2);
  const f32 snr3_f = modem_stats_nr5g_snr(snr3);
  in.print("snr0_f = %.2f, snr1_f = %.2f, snr2_f = %.2f, snr3_f = %.2f", snr0_f, snr1_f, snr2_f,
           snr3_f);
  in.publish(nr5g_ll1_log_serving_snr_record, "version"_f = version, "snr0"_f = snr0_f,
             "snr1"_f = snr1_f, "snr2"_f = snr2_f, "snr3"_f = snr3_f,
             "pci"_f = in.peek(snr_head::pci, nr5g_no_pci),
             "carrier_index"_f = in.peek(snr_head::carrier_index, nr5g_no_carrier));
}
