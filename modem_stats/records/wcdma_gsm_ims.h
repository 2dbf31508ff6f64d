// Records of the WCDMA, GSM and IMS logs.
#pragma once

#include "modem_stats/record_schema.h"

namespace modem_stats {

inline constexpr auto wcdma_pn_search_fields =
    fields(field<u8>{"version"}, field<f32>{"rx_agc_0", "dBm"}, field<f32>{"rx_agc_1", "dBm"});
inline constexpr fixed_record<wcdma_pn_search_fields> wcdma_pn_search_record{
    110, "wcdma_pn_search_edition2"};

inline constexpr auto gsm_rx_diversity_fields =
    fields(field<u8>{"version"}, field<f32>{"rx_prx", "dBm"}, field<f32>{"rx_drx", "dBm"});
inline constexpr fixed_record<gsm_rx_diversity_fields> gsm_l1_rx_diversity_record{
    111, "gsm_l1_rx_diversity_metrics"};

inline constexpr auto ims_rtp_fields =
    fields(field<u8>{"version"}, field<u8>{"codec_type"}, field<u8>{"frame_type"});
inline constexpr fixed_record<ims_rtp_fields> ims_rtp_record{136, "ims_rtp_sn_and_payload"};

inline constexpr auto ims_sip_message_fields =
    fields(field<u8>{"version"}, field<u8>{"direction"}, field<u8>{"sdp_presence"},
           field<u8>{"sip_call_id_len", "byte"}, field<u16>{"sip_msg_len", "byte"},
           field<u16>{"sip_msg_logged_bytes", "byte"}, field<u16>{"msg_id"},
           field<u16>{"response_code"}, field<u32>{"cm_call_id"});
inline constexpr fixed_record<ims_sip_message_fields> ims_sip_message_record{116,
                                                                             "ims_sip_message"};

/// Setup and end differ only in `outcome`.
consteval auto ims_volte_session_fields(const char* outcome) {
  return fields(field<u8>{"version"}, field<u8>{"direction"}, field<u16>{outcome},
                field<u32>{"call_setup_delay", "ms"}, field<u8>{"rat"},
                field<u8>{"originating_url_len", "byte"}, field<u8>{"terminating_url_len", "byte"});
}
inline constexpr auto ims_volte_session_setup_fields = ims_volte_session_fields("result");
inline constexpr fixed_record<ims_volte_session_setup_fields> ims_volte_session_setup_record{
    125, "ims_volte_session_setup"};
inline constexpr auto ims_volte_session_end_fields = ims_volte_session_fields("end_cause");
inline constexpr fixed_record<ims_volte_session_end_fields> ims_volte_session_end_record{
    126, "ims_volte_session_end"};

inline constexpr const record_schema* wcdma_gsm_ims_records[] = {
    &wcdma_pn_search_record, &gsm_l1_rx_diversity_record,     &ims_rtp_record,
    &ims_sip_message_record, &ims_volte_session_setup_record, &ims_volte_session_end_record,
};

}  // namespace modem_stats
