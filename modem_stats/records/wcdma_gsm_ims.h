// Records of the WCDMA, GSM and IMS logs.
#pragma once

#include "modem_stats/record_schema.h"
#include "modem_stats/records/quantities.h"

namespace modem_stats {

/// What the level of a chain comes out as that is not in use.
inline constexpr null_rule wcdma_chain_not_in_use = null_if(-3.6F);
inline constexpr auto wcdma_pn_search_fields =
    fields(field<u8>{"version", of::packet_version},
           field<f32>{"rx_agc_0", of::rssi_rx[0], wcdma_chain_not_in_use},
           field<f32>{"rx_agc_1", of::rssi_rx[1], wcdma_chain_not_in_use});
inline constexpr fixed_record<wcdma_pn_search_fields> wcdma_pn_search_record{110,
                                                                             "wcdma_l1_pn_search"};

inline constexpr auto gsm_rx_diversity_fields =
    fields(field<u8>{"version", of::packet_version}, field<f32>{"rx_prx", of::rssi_rx[0]},
           field<f32>{"rx_drx", of::rssi_rx[1]});
inline constexpr fixed_record<gsm_rx_diversity_fields> gsm_l1_rx_diversity_record{
    111, "gsm_l1_rx_diversity"};

inline constexpr auto ims_rtp_fields =
    fields(field<u8>{"version", of::packet_version}, field<u8>{"codec_type", of::codec_code},
           field<u8>{"frame_type", of::frame_type_code});
inline constexpr fixed_record<ims_rtp_fields> ims_rtp_record{136, "ims_rtp_sn_and_payload"};

inline constexpr auto ims_sip_message_fields = fields(
    field<u8>{"version", of::packet_version}, field<u8>{"direction", of::sip_direction_code},
    field<u8>{"sdp_presence", of::has_sdp}, field<u8>{"sip_call_id_len", of::sip_call_id_size},
    field<u16>{"sip_msg_len", of::sip_message_size},
    field<u16>{"sip_msg_logged_bytes", of::sip_message_logged},
    field<u16>{"msg_id", of::sip_method_code},
    field<u16>{"response_code", of::sip_response_code, null_if(0)},
    field<u32>{"cm_call_id", of::cm_call_id, null_if(255)});
inline constexpr fixed_record<ims_sip_message_fields> ims_sip_message_record{116,
                                                                             "ims_sip_message"};

/// Setup and end differ only in the outcome.
consteval auto ims_volte_session_fields(const field<u16>& outcome) {
  return fields(field<u8>{"version", of::packet_version},
                field<u8>{"direction", of::call_direction_code}, outcome,
                field<u32>{"call_setup_delay", of::call_setup_delay},
                field<u8>{"rat", of::rat_code, null_if_other("version", 1)},
                field<u8>{"originating_url_len", of::originating_url_size},
                field<u8>{"terminating_url_len", of::terminating_url_size});
}
inline constexpr auto ims_volte_session_setup_fields =
    ims_volte_session_fields({"result", of::setup_result_code});
inline constexpr fixed_record<ims_volte_session_setup_fields> ims_volte_session_setup_record{
    125, "ims_volte_session_setup"};
inline constexpr auto ims_volte_session_end_fields =
    ims_volte_session_fields({"end_cause", of::end_cause_code});
inline constexpr fixed_record<ims_volte_session_end_fields> ims_volte_session_end_record{
    126, "ims_volte_session_end"};

inline constexpr const record_schema* wcdma_gsm_ims_records[] = {
    &wcdma_pn_search_record, &gsm_l1_rx_diversity_record,     &ims_rtp_record,
    &ims_sip_message_record, &ims_volte_session_setup_record, &ims_volte_session_end_record,
};

}  // namespace modem_stats
