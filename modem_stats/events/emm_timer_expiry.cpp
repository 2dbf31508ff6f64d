// Events 1632 and 3215: a mobility management timer of LTE or NR5G expired.
// Layout: docs/formats/events.md.
#include "modem_stats/parsers.h"
#include "modem_stats/records/events.h"

namespace modem_stats {
namespace {

void emm_timer_expiry(packet_decoder& in, const char* event,
                      const fixed_record<emm_timer_fields>& record) {
  constexpr u8 rat = 4;  // sic: for both
  const auto timer_id = in.next<u8>("timer_id");
  in.print("%s, sub_id = %d, timer_id = %d", event, in.sub_id(), timer_id);
  in.publish(record, "timer_id"_f = timer_id, "rat"_f = rat);
}

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_1632_diag_event_lte_emm_timer_expiry(modem_stats::packet_decoder& in) {
  modem_stats::emm_timer_expiry(in, "lte_emm_timer_expiry", modem_stats::lte_emm_timer_record);
}

void modem_stats_parse_3215_diag_event_nr5g_emm_timer_expiry(modem_stats::packet_decoder& in) {
  modem_stats::emm_timer_expiry(in, "nr5g_emm_timer_expiry", modem_stats::nr5g_emm_timer_record);
}
