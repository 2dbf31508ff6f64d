// Records of the events.
#pragma once

#include "modem_stats/record_schema.h"

namespace modem_stats {

inline constexpr auto lte_rrc_state_fields = fields(field<u8>{"rrc_state"});
inline constexpr fixed_record lte_rrc_state_record{MODEM_STATS_DATA_ID_LTE_RRC_STATE,
                                                   "lte_rrc_state", lte_rrc_state_fields};

inline constexpr auto lte_rrc_state_change_fields =
    fields(field<u32>{"rrc_active_time"}, field<u32>{"rrc_setup_count"}, field<u8>{"rrc_setup"});
inline constexpr fixed_record lte_rrc_state_change_record{
    MODEM_STATS_DATA_ID_LTE_RRC_STATE_CHANGE_STATS, "lte_rrc_state_change",
    lte_rrc_state_change_fields};

inline constexpr auto cm_call_orig_fields =
    fields(field<u8>{"call_id"}, field<u8>{"call_type"}, field<u8>{"srv_type"});
inline constexpr fixed_record cm_call_orig_record{MODEM_STATS_DATA_ID_CM_CALL_ORIG, "cm_call_orig",
                                                  cm_call_orig_fields};

inline constexpr auto cm_call_end_fields = fields(field<u8>{"num_calls"}, field<u8>{"call_id"});
inline constexpr fixed_record cm_call_end_record{MODEM_STATS_DATA_ID_CM_CALL_END, "cm_call_end",
                                                 cm_call_end_fields};

inline constexpr auto ims_sip_session_fields = fields(field<u32>{"sip_call_id"});
inline constexpr fixed_record ims_sip_session_start_record{
    MODEM_STATS_DATA_ID_IMS_SIP_SESSION_START, "ims_sip_session_start", ims_sip_session_fields};
inline constexpr fixed_record ims_sip_session_ringing_record{
    MODEM_STATS_DATA_ID_IMS_SIP_SESSION_RINGING, "ims_sip_session_ringing", ims_sip_session_fields};
inline constexpr fixed_record ims_sip_session_established_record{
    MODEM_STATS_DATA_ID_IMS_SIP_SESSION_ESTABLISHED, "ims_sip_session_established",
    ims_sip_session_fields};
inline constexpr fixed_record ims_sip_session_terminated_record{
    MODEM_STATS_DATA_ID_IMS_SIP_SESSION_TERMINATED, "ims_sip_session_terminated",
    ims_sip_session_fields};
inline constexpr fixed_record ims_sip_session_cancel_record{
    MODEM_STATS_DATA_ID_IMS_SIP_SESSION_CANCEL, "ims_sip_session_cancel", ims_sip_session_fields};
inline constexpr fixed_record ims_sip_session_failure_record{
    MODEM_STATS_DATA_ID_IMS_SIP_SESSION_FAILURE, "ims_sip_session_failure", ims_sip_session_fields};

inline constexpr auto emm_timer_fields = fields(field<u8>{"timer_id"}, field<u8>{"rat"});
inline constexpr fixed_record lte_emm_timer_record{MODEM_STATS_DATA_ID_LTE_EMM_TIMER_EXPIRY,
                                                   "lte_emm_timer_expiry", emm_timer_fields};
inline constexpr fixed_record nr5g_emm_timer_record{MODEM_STATS_DATA_ID_NR5G_EMM_TIMER_EXPIRY,
                                                    "nr5g_emm_timer_expiry", emm_timer_fields};

inline constexpr auto lte_rlf_fields =
    fields(field<u16>{"rlf_count_rrc_connected"}, field<u16>{"rlf_count_lte_active"},
           field<u16>{"rlf_cause"});
inline constexpr fixed_record lte_rlf_record{MODEM_STATS_DATA_ID_LTE_RRC_RADIO_LINK_FAILURE_STAT,
                                             "lte_rrc_radio_link_failure_stat", lte_rlf_fields};

inline constexpr auto lte_handover_fields =
    fields(field<u64>{"ho_time"}, field<u8>{"ho_type"}, field<u32>{"freq"}, field<u16>{"pci"});
inline constexpr fixed_record lte_handover_record{MODEM_STATS_DATA_ID_LTE_RRC_NEW_CELL_IND,
                                                  "lte_rrc_new_cell_ind_ext_earfcn",
                                                  lte_handover_fields};

/// Antenna information, also of the statistics service.
inline constexpr auto antenna_info_fields =
    fields(field<u8>{"version"}, field<u8>{"ant_number"}, field<u16>{"ant_switch_path"},
           field<u16>{"sig_path"}, field<u8>{"old_config"}, field<u8>{"new_config"});
inline constexpr fixed_record antenna_info_record{MODEM_STATS_DATA_ID_MCS_TRM_ASDIV,
                                                  "mcs_trm_asdiv", antenna_info_fields};

inline constexpr auto nr5g_new_cell_fields =
    fields(field<u32>{"ssb_freq"}, field<u16>{"pci"}, field<u8>{"bw"});
inline constexpr fixed_record nr5g_new_cell_record{MODEM_STATS_DATA_ID_NR5G_RRC_NEW_CELL_IND,
                                                   "nr5g_rrc_new_cell_ind", nr5g_new_cell_fields};

inline constexpr auto nr5g_scg_failure_fields = fields(field<u16>{"scg_failure_cause"});
inline constexpr fixed_record nr5g_scg_failure_record{
    MODEM_STATS_DATA_ID_NR5G_RRC_SCG_FAILURE, "nr5g_rrc_scg_failure", nr5g_scg_failure_fields};

inline constexpr const record_schema* event_records[] = {
    &lte_rrc_state_record,
    &lte_rrc_state_change_record,
    &cm_call_orig_record,
    &cm_call_end_record,
    &ims_sip_session_start_record,
    &ims_sip_session_ringing_record,
    &ims_sip_session_established_record,
    &ims_sip_session_terminated_record,
    &ims_sip_session_cancel_record,
    &ims_sip_session_failure_record,
    &lte_emm_timer_record,
    &nr5g_emm_timer_record,
    &lte_rlf_record,
    &lte_handover_record,
    &antenna_info_record,
    &nr5g_new_cell_record,
    &nr5g_scg_failure_record,
};

}  // namespace modem_stats
