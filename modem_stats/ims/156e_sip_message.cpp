// Log 0x156E, IMS SIP message: the kind of message, without its text.
// Layout: docs/formats/wcdma_gsm_ims.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/wcdma_gsm_ims.h"

void modem_stats_parse_156e_diag_log_ims_sip_message(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  in.check_version(version, {1});
  const auto direction = in.next<u8>("direction");
  const auto sdp_presence = in.next<u8>("sdp_presence");
  const auto sip_call_id_len = in.next<u8>("sip_call_id_len");
  const auto sip_msg_len = in.next<u16>("sip_msg_len");
  const auto sip_msg_logged_bytes = in.next<u16>("sip_msg_logged_bytes");
  const auto msg_id = in.next<u16>("msg_id");
  const auto response_code = in.next<u16>("response_code");
  const auto cm_call_id = in.next<u32>("cm_call_id");
  in.print(
      "version = %d, direction = %d, sdp_presence = %d, sip_call_id_len = %d, sip_msg_len = %d, "
      "sip_msg_logged_bytes = %d, msg_id = %d",
      version, direction, sdp_presence, sip_call_id_len, sip_msg_len, sip_msg_logged_bytes, msg_id);
  in.print("response_code = %d, cm_call_id = %d", response_code, cm_call_id);
  in.publish(ims_sip_message_record, "version"_f = version, "direction"_f = direction,
             "sdp_presence"_f = sdp_presence, "sip_call_id_len"_f = sip_call_id_len,
             "sip_msg_len"_f = sip_msg_len, "sip_msg_logged_bytes"_f = sip_msg_logged_bytes,
             "msg_id"_f = msg_id, "response_code"_f = response_code, "cm_call_id"_f = cm_call_id);
}
