// Events 1995 and 2568, LTE radio link failures and the new cell after a handover.
// Layout: docs/formats/events.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/events.h"

void modem_stats_parse_1995_diag_event_lte_rrc_radio_link_failure_stat(
    int sub_id, modem_stats_data_id_e_type* data_id_out,
    modem_stats_single_data_common_type** record_out) {
  using namespace modem_stats;
  packet_decoder in(__func__, data_id_out, record_out);
  const auto rlf_count_rrc_connected = in.next<u16>("rlf_count_rrc_connected");
  const auto rlf_count_lte_active = in.next<u16>("rlf_count_lte_active");
  const auto rlf_cause = in.next<u16>("rlf_cause");
  in.print("sub_id = %d, rlf_count_rrc_connected = %d, rlf_count_lte_active = %d, rlf_cause = %d",
           sub_id, rlf_count_rrc_connected, rlf_count_lte_active, rlf_cause);
  in.publish(lte_rlf_record, rlf_count_rrc_connected, rlf_count_lte_active, rlf_cause);
}

void modem_stats_parse_2568_diag_event_lte_rrc_new_cell_ind_ext_earfcn(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out) {
  using namespace modem_stats;
  constexpr u8 handover = 2;           // cause
  constexpr std::int64_t ho_time = 0;  // the event does not tell
  constexpr u8 ho_type = 1;
  packet_decoder in(__func__, data_id_out, record_out);
  const auto cause = in.next<u8>("cause");
  const auto freq = in.next<u32>("freq");
  const auto pci = in.next<u16>("pci");
  in.print("cause = %d, freq = %d, pci = %d", cause, freq, pci);
  in.check_valid(cause == handover, cause);
  in.print("ho_time = %ld, ho_type = %d, pci = %d", ho_time, ho_type, pci);
  in.publish(lte_handover_record, ho_time, ho_type, freq, pci);
}
