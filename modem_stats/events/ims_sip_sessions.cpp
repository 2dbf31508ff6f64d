// Events 1428 to 1433: the lifecycle of an IMS SIP session. Layout: docs/formats/events.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/events.h"

namespace modem_stats {
namespace {

void sip_session(packet_decoder& in, const fixed_record<ims_sip_session_fields>& record) {
  const auto sip_call_id = in.next<u32>("sip_call_id");
  in.print("sip_call_id = %d", sip_call_id);
  in.publish(record, "sip_call_id"_f = sip_call_id);
}

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_1428_diag_event_ims_sip_session_start(modem_stats::packet_decoder& in) {
  modem_stats::sip_session(in, modem_stats::ims_sip_session_start_record);
}

void modem_stats_parse_1429_diag_event_ims_sip_session_ringing(modem_stats::packet_decoder& in) {
  modem_stats::sip_session(in, modem_stats::ims_sip_session_ringing_record);
}

void modem_stats_parse_1430_diag_event_ims_sip_session_established(
    modem_stats::packet_decoder& in) {
  modem_stats::sip_session(in, modem_stats::ims_sip_session_established_record);
}

void modem_stats_parse_1431_diag_event_ims_sip_session_terminated(modem_stats::packet_decoder& in) {
  modem_stats::sip_session(in, modem_stats::ims_sip_session_terminated_record);
}

void modem_stats_parse_1432_diag_event_ims_sip_session_cancel(modem_stats::packet_decoder& in) {
  modem_stats::sip_session(in, modem_stats::ims_sip_session_cancel_record);
}

void modem_stats_parse_1433_diag_event_ims_sip_session_failure(modem_stats::packet_decoder& in) {
  modem_stats::sip_session(in, modem_stats::ims_sip_session_failure_record);
}
