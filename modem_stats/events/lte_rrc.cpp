// Events 1995 and 2568: LTE radio link failures, and the new cell after a handover.
// Layout: docs/formats/events.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/events.h"

void modem_stats_parse_1995_diag_event_lte_rrc_radio_link_failure_stat(
    modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto rlf_count_rrc_connected = in.next<u16>("rlf_count_rrc_connected");
  const auto rlf_count_lte_active = in.next<u16>("rlf_count_lte_active");
  const auto rlf_cause = in.next<u16>("rlf_cause");
  in.print("sub_id = %d, rlf_count_rrc_connected = %d, rlf_count_lte_active = %d, rlf_cause = %d",
           in.sub_id(), rlf_count_rrc_connected, rlf_count_lte_active, rlf_cause);
  in.publish(lte_rlf_record, "rlf_count_rrc_connected"_f = rlf_count_rrc_connected,
             "rlf_count_lte_active"_f = rlf_count_lte_active, "rlf_cause"_f = rlf_cause);
}

void modem_stats_parse_2568_diag_event_lte_rrc_new_cell_ind_ext_earfcn(
    modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  constexpr u8 handover = 2;  // cause
  constexpr u64 ho_time = 0;  // not in the event
  constexpr u8 ho_type = 1;
  const auto cause = in.next<u8>("cause");
  const auto freq = in.next<u32>("freq");
  const auto pci = in.next<u16>("pci");
  in.print("cause = %d, freq = %d, pci = %d", cause, freq, pci);
  in.check_valid(cause == handover, cause);
  in.print("ho_time = %ld, ho_type = %d, pci = %d", ho_time, ho_type, pci);
  in.publish(lte_handover_record, "ho_time"_f = ho_time, "ho_type"_f = ho_type, "freq"_f = freq,
             "pci"_f = pci);
}
