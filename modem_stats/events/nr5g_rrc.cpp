// Events 3184 and 3243: a new NR5G cell, and the failure of the secondary cell group.
// Layout: docs/formats/events.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/events.h"

void modem_stats_parse_3184_diag_event_nr5g_rrc_new_cell_ind_v2ssb(
    modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto ssb_freq = in.next<u32>("ssb_freq");
  const auto pci = in.next<u16>("pci");
  const auto bw = in.next<u8>("bw");
  in.print("ssb_freq = %d, pci = %d, bw = %d", ssb_freq, pci, bw);
  in.publish(nr5g_new_cell_record, "ssb_freq"_f = ssb_freq, "pci"_f = pci, "bw"_f = bw);
}

void modem_stats_parse_3243_diag_event_event_nr5g_rrc_scg_failure(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  in.skip(32);
  const auto scg_failure_cause = in.next<u16>("scg_failure_cause");
  in.print("sub_id = %d, scg_failure_cause = %d", in.sub_id(), scg_failure_cause);
  in.publish(nr5g_scg_failure_record, "scg_failure_cause"_f = scg_failure_cause);
}
