// The parsers: one for each log code and event id, each in a file of its own name or with its
// family. Each decodes the calling thread's packet (decoding_context.h) and sets both slots when it
// makes a record; the record slot holds null or a record before.
#pragma once

#include "modem_stats/record.h"

void modem_stats_parse_1568_diag_log_ims_rtp_sn_and_payload(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_156e_diag_log_ims_sip_message(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_1830_diag_log_ims_volte_session_setup(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_1831_diag_log_ims_volte_session_end(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_4179_diag_log_wcdma_pn_search_edition2(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_5096_diag_log_gsm_l1_rx_diversity_metrics(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b062_diag_log_lte_mac_rach_attempt(
    int sub_id, modem_stats_data_id_e_type* data_id_out,
    modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b064_diag_log_lte_mac_ul_transport_block(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b0c2_diag_log_lte_rrc_serving_cell_info(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b111_diag_log_lte_ll1_rx_agc(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b14e_diag_log_lte_pusch_csf(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b16d_diag_log_lte_tx_power(modem_stats_data_id_e_type* data_id_out,
                                                  modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b16e_diag_log_lte_pusch_power_control(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b16f_diag_log_lte_pucch_power_control(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b173_diag_log_lte_pdsch_stat_indication(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b193_diag_log_lte_srv_meas(modem_stats_data_id_e_type* data_id_out,
                                                  modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b823_diag_log_nr5g_rrc_serving_cell_info(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b825_diag_log_nr5g_rrc_configuration_info(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b872_diag_log_nr5g_l2_ul_tb(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b884_diag_log_nr5g_mac_ul_phy_ch_power_ctrl(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b885_diag_log_nr5g_mac_dci_info(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b887_diag_log_nr5g_mac_pdsch_status(
    int sub_id, modem_stats_data_id_e_type* data_id_out,
    modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b888_diag_log_nr5g_mac_pdsch_stats(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b88a_diag_log_nr5g_mac_rach_attempt(
    int sub_id, modem_stats_data_id_e_type* data_id_out,
    modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b8a7_diag_log_nr5g_mac_csf_report(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b8c9_diag_log_nr5g_ll1_fw_rx_control_agc(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b8d2_diag_log_nr5g_ll1_fw_mac_tx_iu_power(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b8d8_diag_log_nr5g_ll1_log_serving_snr(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b8dd_diag_log_nr5g_ll1_fw_serving_ftl(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b975_diag_log_nr5g_mac_ml1_srv_beam(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);

/// Makes any number of records: they go to the thread's record sink or nowhere.
void modem_stats_parse_b97f_diag_log_nr5g_ml1_meas_database_update_ext(int sub_id);

void modem_stats_parse_b981_diag_log_nr5g_ml1_fc_information(
    int sub_id, modem_stats_data_id_e_type* data_id_out,
    modem_stats_single_data_common_type** record_out);
void modem_stats_parse_b98f_diag_log_nr5g_ml1_antenna_switch_diversity(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);

void modem_stats_parse_629_diag_event_cm_call_event_orig(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_631_diag_event_cm_call_event_end(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_1428_diag_event_ims_sip_session_start(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_1429_diag_event_ims_sip_session_ringing(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_1430_diag_event_ims_sip_session_established(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_1431_diag_event_ims_sip_session_terminated(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_1432_diag_event_ims_sip_session_cancel(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_1433_diag_event_ims_sip_session_failure(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_1606_diag_event_lte_rrc_state_change(
    int sub_id, modem_stats_data_id_e_type* data_id_out,
    modem_stats_single_data_common_type** record_out);
/// The steps of event 1606: the first records the state, the second counts it when it comes to be
/// connected and remembers it. A negative state is the last one.
void modem_stats_update_1606_diag_event_lte_rrc_state_change(int sub_id, int state_in);
void modem_stats_update_1606_diag_event_lte_rrc_state_change_stats(
    int state_in, modem_stats_data_id_e_type* data_id_out,
    modem_stats_single_data_common_type** record_out);

void modem_stats_parse_1632_diag_event_lte_emm_timer_expiry(
    int sub_id, modem_stats_data_id_e_type* data_id_out,
    modem_stats_single_data_common_type** record_out);
void modem_stats_parse_1995_diag_event_lte_rrc_radio_link_failure_stat(
    int sub_id, modem_stats_data_id_e_type* data_id_out,
    modem_stats_single_data_common_type** record_out);
void modem_stats_parse_2568_diag_event_lte_rrc_new_cell_ind_ext_earfcn(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_2622_diag_event_mcs_trm_asdiv(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_3184_diag_event_nr5g_rrc_new_cell_ind_v2ssb(
    modem_stats_data_id_e_type* data_id_out, modem_stats_single_data_common_type** record_out);
void modem_stats_parse_3215_diag_event_nr5g_emm_timer_expiry(
    int sub_id, modem_stats_data_id_e_type* data_id_out,
    modem_stats_single_data_common_type** record_out);
void modem_stats_parse_3243_diag_event_event_nr5g_rrc_scg_failure(
    int sub_id, modem_stats_data_id_e_type* data_id_out,
    modem_stats_single_data_common_type** record_out);
