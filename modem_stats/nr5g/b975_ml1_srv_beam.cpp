// Log 0xB975, NR5G ML1 serving-cell beam management: the serving beam's filtered levels.
// Layout: docs/formats/nr5g_ml1_ll1.md.
#include "modem_stats/conversions.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"

void modem_stats_parse_b975_diag_log_nr5g_mac_ml1_srv_beam(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  in.check_version(version, {0x20001});
  const auto rsrp_i = in.bits(at_byte<i32>("rsrp_i", 12));
  const auto rsrq_i = in.bits(at_byte<i32>("rsrq_i", 16));
  const f32 rsrp = modem_stats_nr5g_rsrp(rsrp_i);
  const f32 rsrq = modem_stats_nr5g_rsrq(rsrq_i);
  in.print("version = %d, rsrp_i = %d, rsrq_i = %d, rsrp = %.2f, rsrq = %.2f", version, rsrp_i,
           rsrq_i, rsrp, rsrq);
  in.publish(nr5g_ml1_srv_beam_record, "version"_f = version, "rsrp"_f = rsrp, "rsrq"_f = rsrq,
             "pci"_f = in.peek(bit_field<u32>{"pci", 32, 16}, nr5g_no_pci));
}
