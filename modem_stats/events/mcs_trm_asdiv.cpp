// Event 2622, antenna switch diversity. Layout: docs/formats/events.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/events.h"

void modem_stats_parse_2622_diag_event_mcs_trm_asdiv(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  constexpr u8 version = 0;  // the record has a version, the event does not
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
  in.publish(antenna_info_record, "version"_f = version, "ant_number"_f = ant_number,
             "ant_switch_path"_f = ant_switch_path, "sig_path"_f = sig_path,
             "old_config"_f = old_config, "new_config"_f = new_config);
}
