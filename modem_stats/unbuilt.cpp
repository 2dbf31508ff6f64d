// Parsers that are not there yet.
#include "modem_stats/parsers.h"

__attribute__((weak)) void modem_stats_parse_b064_diag_log_lte_mac_ul_transport_block(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b0c2_diag_log_lte_rrc_serving_cell_info(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b111_diag_log_lte_ll1_rx_agc(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b14e_diag_log_lte_pusch_csf(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b16d_diag_log_lte_tx_power(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b16e_diag_log_lte_pusch_power_control(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b16f_diag_log_lte_pucch_power_control(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b173_diag_log_lte_pdsch_stat_indication(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b193_diag_log_lte_srv_meas(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b823_diag_log_nr5g_rrc_serving_cell_info(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b872_diag_log_nr5g_l2_ul_tb(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b884_diag_log_nr5g_mac_ul_phy_ch_power_ctrl(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b885_diag_log_nr5g_mac_dci_info(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b887_diag_log_nr5g_mac_pdsch_status(
    int, modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b888_diag_log_nr5g_mac_pdsch_stats(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b88a_diag_log_nr5g_mac_rach_attempt(
    int, modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
__attribute__((weak)) void modem_stats_parse_b8a7_diag_log_nr5g_mac_csf_report(
    modem_stats_data_id_e_type*, modem_stats_single_data_common_type**) {}
