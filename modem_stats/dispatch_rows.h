// Which parser decodes which packet, in order of codes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <type_traits>

#include "modem_stats/parsers.h"

namespace modem_stats {

struct dispatch_row {
  std::uint16_t id;  // log code or event id
  void (*parse)(int sub_id, modem_stats_data_id_e_type* data_id_out,
                modem_stats_single_data_common_type** record_out);
};

/// Parsers differ in which of the three arguments they take.
template <auto parser>
void call(int sub_id, modem_stats_data_id_e_type* data_id_out,
          modem_stats_single_data_common_type** record_out) {
  if constexpr (std::is_invocable_v<decltype(parser), int>) {
    parser(sub_id);
  } else if constexpr (std::is_invocable_v<decltype(parser), int, decltype(data_id_out),
                                           decltype(record_out)>) {
    parser(sub_id, data_id_out, record_out);
  } else {
    parser(data_id_out, record_out);
  }
}

// clang-format off
inline constexpr dispatch_row log_rows[] = {
    {0x1568, call<modem_stats_parse_1568_diag_log_ims_rtp_sn_and_payload>},
    {0x156E, call<modem_stats_parse_156e_diag_log_ims_sip_message>},
    {0x1830, call<modem_stats_parse_1830_diag_log_ims_volte_session_setup>},
    {0x1831, call<modem_stats_parse_1831_diag_log_ims_volte_session_end>},
    {0x4179, call<modem_stats_parse_4179_diag_log_wcdma_pn_search_edition2>},
    {0x5096, call<modem_stats_parse_5096_diag_log_gsm_l1_rx_diversity_metrics>},
    {0xB062, call<modem_stats_parse_b062_diag_log_lte_mac_rach_attempt>},
    {0xB064, call<modem_stats_parse_b064_diag_log_lte_mac_ul_transport_block>},
    {0xB0C2, call<modem_stats_parse_b0c2_diag_log_lte_rrc_serving_cell_info>},
    {0xB111, call<modem_stats_parse_b111_diag_log_lte_ll1_rx_agc>},
    {0xB14E, call<modem_stats_parse_b14e_diag_log_lte_pusch_csf>},
    {0xB16D, call<modem_stats_parse_b16d_diag_log_lte_tx_power>},
    {0xB16E, call<modem_stats_parse_b16e_diag_log_lte_pusch_power_control>},
    {0xB16F, call<modem_stats_parse_b16f_diag_log_lte_pucch_power_control>},
    {0xB173, call<modem_stats_parse_b173_diag_log_lte_pdsch_stat_indication>},
    {0xB193, call<modem_stats_parse_b193_diag_log_lte_srv_meas>},
    {0xB823, call<modem_stats_parse_b823_diag_log_nr5g_rrc_serving_cell_info>},
    {0xB825, call<modem_stats_parse_b825_diag_log_nr5g_rrc_configuration_info>},
    {0xB872, call<modem_stats_parse_b872_diag_log_nr5g_l2_ul_tb>},
    {0xB884, call<modem_stats_parse_b884_diag_log_nr5g_mac_ul_phy_ch_power_ctrl>},
    {0xB885, call<modem_stats_parse_b885_diag_log_nr5g_mac_dci_info>},
    {0xB887, call<modem_stats_parse_b887_diag_log_nr5g_mac_pdsch_status>},
    {0xB888, call<modem_stats_parse_b888_diag_log_nr5g_mac_pdsch_stats>},
    {0xB88A, call<modem_stats_parse_b88a_diag_log_nr5g_mac_rach_attempt>},
    {0xB8A7, call<modem_stats_parse_b8a7_diag_log_nr5g_mac_csf_report>},
    {0xB8C9, call<modem_stats_parse_b8c9_diag_log_nr5g_ll1_fw_rx_control_agc>},
    {0xB8D2, call<modem_stats_parse_b8d2_diag_log_nr5g_ll1_fw_mac_tx_iu_power>},
    {0xB8D8, call<modem_stats_parse_b8d8_diag_log_nr5g_ll1_log_serving_snr>},
    {0xB8DD, call<modem_stats_parse_b8dd_diag_log_nr5g_ll1_fw_serving_ftl>},
    {0xB975, call<modem_stats_parse_b975_diag_log_nr5g_mac_ml1_srv_beam>},
    {0xB97F, call<modem_stats_parse_b97f_diag_log_nr5g_ml1_meas_database_update_ext>},
    {0xB981, call<modem_stats_parse_b981_diag_log_nr5g_ml1_fc_information>},
    {0xB98F, call<modem_stats_parse_b98f_diag_log_nr5g_ml1_antenna_switch_diversity>},
};

inline constexpr dispatch_row event_rows[] = {
    {629, call<modem_stats_parse_629_diag_event_cm_call_event_orig>},
    {631, call<modem_stats_parse_631_diag_event_cm_call_event_end>},
    {1428, call<modem_stats_parse_1428_diag_event_ims_sip_session_start>},
    {1429, call<modem_stats_parse_1429_diag_event_ims_sip_session_ringing>},
    {1430, call<modem_stats_parse_1430_diag_event_ims_sip_session_established>},
    {1431, call<modem_stats_parse_1431_diag_event_ims_sip_session_terminated>},
    {1432, call<modem_stats_parse_1432_diag_event_ims_sip_session_cancel>},
    {1433, call<modem_stats_parse_1433_diag_event_ims_sip_session_failure>},
    {1606, call<modem_stats_parse_1606_diag_event_lte_rrc_state_change>},
    {1632, call<modem_stats_parse_1632_diag_event_lte_emm_timer_expiry>},
    {1995, call<modem_stats_parse_1995_diag_event_lte_rrc_radio_link_failure_stat>},
    {2568, call<modem_stats_parse_2568_diag_event_lte_rrc_new_cell_ind_ext_earfcn>},
    {2622, call<modem_stats_parse_2622_diag_event_mcs_trm_asdiv>},
    {3184, call<modem_stats_parse_3184_diag_event_nr5g_rrc_new_cell_ind_v2ssb>},
    {3215, call<modem_stats_parse_3215_diag_event_nr5g_emm_timer_expiry>},
    {3243, call<modem_stats_parse_3243_diag_event_event_nr5g_rrc_scg_failure>},
};
// clang-format on

constexpr bool in_order(const dispatch_row& left, const dispatch_row& right) {
  return left.id < right.id;
}
static_assert(std::is_sorted(std::begin(log_rows), std::end(log_rows), in_order));
static_assert(std::is_sorted(std::begin(event_rows), std::end(event_rows), in_order));

}  // namespace modem_stats
