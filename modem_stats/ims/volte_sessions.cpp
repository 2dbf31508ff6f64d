// Logs 0x1830 and 0x1831, setup and end of a VoLTE session: the outcome, without the names of the
// parties. Layout: docs/formats/wcdma_gsm_ims.md.
#include <initializer_list>

#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/wcdma_gsm_ims.h"

namespace modem_stats {
namespace {

/// Moves the cursor past the string and returns the string's length.
u8 skip_string(packet_decoder& in, const char* length_name) {
  const auto length = in.next<u8>(length_name);
  in.skip(length);
  return length;
}

/// `outcome_name` is the name of the field in which the two logs differ.
template <field_name outcome_name, const auto& list>
void volte_session(packet_decoder& in, std::initializer_list<u32> versions,
                   const fixed_record<list>& record) {
  const auto version = in.next<u8>("version");
  in.check_version(version, versions);
  skip_string(in, "dialed_number_len");
  const auto direction = in.next<u8>("direction");
  skip_string(in, "sip_call_id_len");
  in.skip(sizeof(u32));  // call type
  const auto originating_url_len = skip_string(in, "originating_url_len");
  const auto terminating_url_len = skip_string(in, "terminating_url_len");
  const auto outcome = in.next<u16>(outcome_name.text);
  const auto call_setup_delay = in.next<u32>("call_setup_delay");
  const u8 rat = version == 1 ? u8{0} : in.next<u8>("rat");
  in.print(
      "version = %d, direction = %d, %s = %d, call_setup_delay = %d, rat = %d, "
      "originating_url_len = %d, terminating_url_len = %d",
      version, direction, outcome_name.text, outcome, call_setup_delay, rat, originating_url_len,
      terminating_url_len);
  in.publish(record, "version"_f = version, "direction"_f = direction,
             value_name<outcome_name>() = outcome, "call_setup_delay"_f = call_setup_delay,
             "rat"_f = rat, "originating_url_len"_f = originating_url_len,
             "terminating_url_len"_f = terminating_url_len);
}

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_1830_diag_log_ims_volte_session_setup(modem_stats::packet_decoder& in) {
  modem_stats::volte_session<"result">(in, {1, 2, 4}, modem_stats::ims_volte_session_setup_record);
}

void modem_stats_parse_1831_diag_log_ims_volte_session_end(modem_stats::packet_decoder& in) {
  modem_stats::volte_session<"end_cause">(in, {1, 6}, modem_stats::ims_volte_session_end_record);
}
