// Event 2622, antenna switch diversity. Layout: docs/formats/events.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/events.h"

void modem_stats_parse_2622_diag_event_mcs_trm_asdiv(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out) {
  using namespace modem_stats;
  constexpr u8 version = 0;  // the event has none, the record does
  packet_decoder in(__func__, data_id_out, record_out);
  in.skip(1);
  const auto old_config = in.next<u8>("old_config");
  const auto new_config = in.next<u8>("new_config");
  in.skip(2);
  const auto ant_number = in.next<u8>("ant_number");
  const auto ant_switch_path = in.next<u16>("ant_switch_path");
  const auto sig_path = in.next<u16>("sig_path");
  in.print(
      "version = %d, ant_number = %d, ant_switch_path = %d, sig_path = %d, old_config = %d, "
      "new_config = %d",
      version, ant_number, ant_switch_path, sig_path, old_config, new_config);
  in.publish(antenna_info_record, version, ant_number, ant_switch_path, sig_path, old_config,
             new_config);
}
