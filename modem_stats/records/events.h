// Records of the events.
#pragma once

#include "modem_stats/record_schema.h"
#include "modem_stats/records/quantities.h"

namespace modem_stats {

inline constexpr auto lte_rrc_state_fields = fields(field<u8>{"rrc_state", of::lte_rrc_state_code});
inline constexpr fixed_record<lte_rrc_state_fields> lte_rrc_state_record{5, "lte_rrc_state"};

inline constexpr auto lte_rrc_state_change_fields = fields(
    field<u32>{"rrc_active_time", of::rrc_active_time, null_if(0)},
    field<u32>{"rrc_setup_count", of::num_rrc_setups}, field<u8>{"rrc_setup", of::rrc_setup});
inline constexpr fixed_record<lte_rrc_state_change_fields> lte_rrc_state_change_record{
    127, "lte_rrc_state_change"};

inline constexpr auto cm_call_orig_fields =
    fields(field<u8>{"call_id", of::cm_call_id}, field<u8>{"call_type", of::call_type_code},
           field<u8>{"srv_type", of::service_type_code});
inline constexpr fixed_record<cm_call_orig_fields> cm_call_orig_record{117, "cm_call_orig"};

inline constexpr auto cm_call_end_fields =
    fields(field<u8>{"num_calls", of::num_calls}, field<u8>{"call_id", of::cm_call_id});
inline constexpr fixed_record<cm_call_end_fields> cm_call_end_record{118, "cm_call_end"};

inline constexpr auto ims_sip_session_fields = fields(field<u32>{"sip_call_id", of::sip_call_id});
inline constexpr fixed_record<ims_sip_session_fields> ims_sip_session_start_record{
    119, "ims_sip_session_start"};
inline constexpr fixed_record<ims_sip_session_fields> ims_sip_session_ringing_record{
    120, "ims_sip_session_ringing"};
inline constexpr fixed_record<ims_sip_session_fields> ims_sip_session_established_record{
    121, "ims_sip_session_established"};
inline constexpr fixed_record<ims_sip_session_fields> ims_sip_session_terminated_record{
    122, "ims_sip_session_terminated"};
inline constexpr fixed_record<ims_sip_session_fields> ims_sip_session_cancel_record{
    123, "ims_sip_session_cancel"};
inline constexpr fixed_record<ims_sip_session_fields> ims_sip_session_failure_record{
    124, "ims_sip_session_failure"};

inline constexpr auto emm_timer_fields =
    fields(field<u8>{"timer_id", of::timer_id}, field<u8>{"rat", of::format_constant});
inline constexpr fixed_record<emm_timer_fields> lte_emm_timer_record{95, "lte_emm_timer_expiry"};
inline constexpr fixed_record<emm_timer_fields> nr5g_emm_timer_record{102, "nr5g_emm_timer_expiry"};

inline constexpr auto lte_rlf_fields =
    fields(field<u16>{"rlf_count_rrc_connected", of::num_rlf_connected},
           field<u16>{"rlf_count_lte_active", of::num_rlf_lte_active},
           field<u16>{"rlf_cause", of::rlf_cause_code});
inline constexpr fixed_record<lte_rlf_fields> lte_rlf_record{131, "lte_rrc_radio_link_failure"};

inline constexpr auto lte_handover_fields =
    fields(field<u64>{"ho_time", of::handover_time, null_if(0)},
           field<u8>{"ho_type", of::handover_type_code}, field<u32>{"freq", of::dl_earfcn},
           field<u16>{"pci", of::pci});
inline constexpr fixed_record<lte_handover_fields> lte_handover_record{109, "lte_rrc_new_cell"};

/// Antenna information; the statistics service has it too.
inline constexpr auto antenna_info_fields =
    fields(field<u8>{"version", of::packet_version, null_if(0)},
           field<u8>{"ant_number", of::antenna_number},
           field<u16>{"ant_switch_path", of::antenna_switch_path},
           field<u16>{"sig_path", of::signal_path}, field<u8>{"old_config", of::antenna_config_old},
           field<u8>{"new_config", of::antenna_config_new});
inline constexpr fixed_record<antenna_info_fields> antenna_info_record{100, "modem_antenna_switch"};

inline constexpr auto nr5g_new_cell_fields =
    fields(field<u32>{"ssb_freq", of::ssb_nr_arfcn}, field<u16>{"pci", of::pci},
           field<u8>{"bw", of::cell_bandwidth_code});
inline constexpr fixed_record<nr5g_new_cell_fields> nr5g_new_cell_record{92, "nr5g_rrc_new_cell"};

inline constexpr auto nr5g_scg_failure_fields =
    fields(field<u16>{"scg_failure_cause", of::scg_failure_cause_code});
inline constexpr fixed_record<nr5g_scg_failure_fields> nr5g_scg_failure_record{
    138, "nr5g_rrc_scg_failure"};

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
