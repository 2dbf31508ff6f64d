// Events 629 and 631: a call begins and ends. Layout: docs/formats/events.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/events.h"

void modem_stats_parse_629_diag_event_cm_call_event_orig(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto call_id = in.next<u8>("call_id");
  const auto call_type = in.next<u8>("call_type");
  const auto srv_type = in.next<u8>("srv_type");
  in.print("call_id = %d, call_type = %d, srv_type = %d", call_id, call_type, srv_type);
  in.publish(cm_call_orig_record, "call_id"_f = call_id, "call_type"_f = call_type,
             "srv_type"_f = srv_type);
}

void modem_stats_parse_631_diag_event_cm_call_event_end(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto num_calls = in.next<u8>("num_calls");
  const auto call_id = in.next<u8>("call_id");
  in.print("num_calls = %d, call_id = %d", num_calls, call_id);
  in.publish(cm_call_end_record, "num_calls"_f = num_calls, "call_id"_f = call_id);
}
