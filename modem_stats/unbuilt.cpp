// Parsers that are not there yet.
#include "modem_stats/parsers.h"

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
