// Records of the LTE logs.
#pragma once

#include "modem_stats/record_schema.h"
#include "modem_stats/records/quantities.h"

namespace modem_stats {

// An antenna without measurement has raw values of 0, which come out as numbers.
inline constexpr null_rule antenna_0_absent = null_unless_bit("rx_valid", 0);
inline constexpr null_rule antenna_1_absent = null_unless_bit("rx_valid", 1);
inline constexpr null_rule antenna_2_absent = null_unless_bit("rx_valid", 2);
inline constexpr null_rule antenna_3_absent = null_unless_bit("rx_valid", 3);

/// The 4G carrier record, which the serving-cell measurement log and the statistics service share.
inline constexpr auto lte_carrier_fields = fields(
    field<u8>{"version", of::packet_version}, field<u8>{"version_ssmr", of::sub_packet_version},
    field<u32>{"earfcn", of::dl_earfcn}, field<u16>{"pci", of::pci},
    field<u8>{"is_srv_cell", of::is_serving_cell}, field<u16>{"rx_valid", of::rx_valid},  //
    field<f32>{"rsrp_rx0", of::rsrp_rx[0], antenna_0_absent},
    field<f32>{"rsrq_rx0", of::rsrq_rx[0], antenna_0_absent},
    field<f32>{"rssi_rx0", of::rssi_rx[0], antenna_0_absent},
    field<f32>{"snr_rx0", of::snr_rx[0], antenna_0_absent},  //
    field<f32>{"rsrp_rx1", of::rsrp_rx[1], antenna_1_absent},
    field<f32>{"rsrq_rx1", of::rsrq_rx[1], antenna_1_absent},
    field<f32>{"rssi_rx1", of::rssi_rx[1], antenna_1_absent},
    field<f32>{"snr_rx1", of::snr_rx[1], antenna_1_absent},  //
    field<f32>{"rsrp_rx2", of::rsrp_rx[2], antenna_2_absent},
    field<f32>{"rsrq_rx2", of::rsrq_rx[2], antenna_2_absent},
    field<f32>{"rssi_rx2", of::rssi_rx[2], antenna_2_absent},
    field<f32>{"snr_rx2", of::snr_rx[2], antenna_2_absent},  //
    field<f32>{"rsrp_rx3", of::rsrp_rx[3], antenna_3_absent},
    field<f32>{"rsrq_rx3", of::rsrq_rx[3], antenna_3_absent},
    field<f32>{"rssi_rx3", of::rssi_rx[3], antenna_3_absent},
    field<f32>{"snr_rx3", of::snr_rx[3], antenna_3_absent});
/// Which carrier it is; the record has only whether it is the primary one, by its data id.
inline constexpr auto lte_carrier_index = fields(field<u8>{"srv_cell_idx", of::carrier_index});
inline constexpr fixed_record<lte_carrier_fields, lte_carrier_index> lte_srv_meas_pcc_record{
    82, "lte_srv_meas_pcc"};
/// These are the statistics service's alone.
inline constexpr fixed_record<lte_carrier_fields> lte_srv_meas_scc1_record{103,
                                                                           "lte_srv_meas_scc1"};
inline constexpr fixed_record<lte_carrier_fields> lte_srv_meas_scc2_record{104,
                                                                           "lte_srv_meas_scc2"};
inline constexpr fixed_record<lte_carrier_fields> lte_srv_meas_scc3_record{105,
                                                                           "lte_srv_meas_scc3"};
inline constexpr fixed_record<lte_carrier_fields> lte_srv_meas_scc4_record{106,
                                                                           "lte_srv_meas_scc4"};
inline constexpr fixed_record<lte_carrier_fields> lte_srv_meas_scc5_record{107,
                                                                           "lte_srv_meas_scc5"};
/// The log uses this one for every secondary carrier, the statistics service for the sixth.
inline constexpr fixed_record<lte_carrier_fields, lte_carrier_index> lte_srv_meas_scc_record{
    108, "lte_srv_meas_scc"};

inline constexpr auto lte_mac_rach_attempt_fields = fields(
    field<u8>{"version", of::packet_version}, field<u8>{"version_sub", of::sub_packet_version},
    field<u8>{"rach_result", of::lte_rach_result_code});
inline constexpr fixed_record<lte_mac_rach_attempt_fields> lte_mac_rach_attempt_record{
    132, "lte_mac_rach_attempt"};

inline constexpr auto lte_mac_ul_transport_block_fields = fields(
    field<u8>{"version", of::packet_version}, field<u16>{"phr_ind", of::phr_index, null_if(255)},
    field<u32>{"bsr_lcg3_avg", of::bsr_lcg3_average, null_if_other("bsr_lcg3_num", 0)},
    field<u16>{"bsr_lcg3_num", of::num_bsr_lcg3}, field<u32>{"bsr_lcg3_bytes", of::bsr_lcg3_sum});
inline constexpr fixed_record<lte_mac_ul_transport_block_fields> lte_mac_ul_transport_block_record{
    114, "lte_mac_ul_transport_block"};

inline constexpr auto lte_rrc_serving_cell_fields = fields(
    field<u8>{"version", of::packet_version}, field<u16>{"mcc", of::mcc},
    field<u8>{"mnc_num", of::num_mnc_digits}, field<u16>{"mnc", of::mnc},
    field<u16>{"tac", of::tac}, field<u32>{"cgi", of::cell_identity}, field<u16>{"pci", of::pci},
    field<u32>{"freq_band_ind", of::band}, field<u32>{"dl_earfcn", of::dl_earfcn},
    field<u8>{"dl_bw", of::num_dl_rb, null_if(0)}, field<u32>{"ul_earfcn", of::ul_earfcn},
    field<u8>{"ul_bw", of::num_ul_rb, null_if(0)}, field<u8>{"allow_access", of::allow_access});
inline constexpr fixed_record<lte_rrc_serving_cell_fields> lte_rrc_serving_cell_record{
    129, "lte_rrc_serving_cell_info"};

inline constexpr auto lte_rx_agc_fields =
    fields(field<u8>{"version", of::packet_version}, field<u8>{"num_records", of::num_records},
           field<f32>{"rssi0", of::rssi_rx[0], null_if(-256.0F)},
           field<f32>{"rssi1", of::rssi_rx[1], null_if(-256.0F)},
           field<f32>{"rssi2", of::rssi_rx[2], null_if(-256.0F)},
           field<f32>{"rssi3", of::rssi_rx[3], null_if(-256.0F)});
inline constexpr fixed_record<lte_rx_agc_fields> lte_rx_agc_record{96, "lte_ll1_rx_agc"};

inline constexpr auto lte_pusch_csf_fields =
    fields(field<u8>{"version", of::packet_version}, field<u8>{"rank_idx", of::rank_index},
           field<u16>{"wideband_cqi_cw0", of::cqi_cw0});
inline constexpr fixed_record<lte_pusch_csf_fields> lte_pusch_csf_record{84, "lte_pusch_csf"};

inline constexpr auto lte_tx_power_head =
    fields(field<u8>{"version", of::packet_version}, field<u8>{"num", of::num_reports});
/// A report is of one of the two channels.
inline constexpr null_rule lte_no_pusch = null_if_other("pusch_tx_power", -128);
inline constexpr auto lte_tx_power_report =
    fields(field<i8>{"pucch_tx_power", of::pucch_tx_power, null_if(-128)},
           field<u8>{"pusch_num_res_blocks", of::num_pusch_rb, null_if(0)},
           field<u8>{"pusch_modulation_type", of::pusch_modulation_code, lte_no_pusch},
           field<i8>{"pusch_tx_power", of::pusch_tx_power, null_if(-128)},
           field<u8>{"pusch_mcs", of::pusch_mcs, lte_no_pusch});
inline constexpr record_schema lte_tx_power_record =
    record_of_parts(83, "lte_tx_power", record_part{lte_tx_power_head.rows},
                    record_part{lte_tx_power_report.rows, "reports", {"num"}});

inline constexpr auto lte_pusch_power_fields =
    fields(field<u8>{"version", of::packet_version}, field<u8>{"num_records", of::num_records},
           field<i8>{"pusch_tx_power", of::pusch_unlimited_tx_power},
           field<u8>{"dl_path_loss", of::dl_path_loss});
inline constexpr fixed_record<lte_pusch_power_fields> lte_pusch_power_record{
    98, "lte_pusch_power_control"};
inline constexpr auto lte_pucch_power_fields =
    fields(field<u8>{"version", of::packet_version}, field<u8>{"num_records", of::num_records},
           field<i8>{"pucch_tx_power", of::pucch_unlimited_tx_power},
           field<u8>{"dl_path_loss", of::dl_path_loss});
inline constexpr fixed_record<lte_pucch_power_fields> lte_pucch_power_record{
    128, "lte_pucch_power_control"};

/// The values of the last block are those of none.
inline constexpr null_rule lte_no_block = null_if_other("num_layers", 0);
inline constexpr auto lte_pdsch_stat_fields =
    fields(field<u8>{"version", of::packet_version}, field<u8>{"num_records", of::num_records},
           field<u8>{"pdsch_mcs", of::pdsch_mcs, lte_no_block},
           field<u8>{"pdsch_rb", of::num_pdsch_rb, lte_no_block},
           field<u8>{"pdsch_mod_type", of::pdsch_modulation_bits, null_if(0)},
           field<u8>{"pdsch_rnti_type", of::rnti_type_code, lte_no_block},
           field<u8>{"num_layers", of::num_layers, null_if(0)}, field<u32>{"tb_bytes", of::tb_sum},
           field<u8>{"num_layers_crnti", of::num_crnti_layers, null_if(0)},
           field<u64>{"tb_bytes_crnti", of::tb_crnti_sum},
           field<u8>{"crc_result", of::crc_passed, lte_no_block});
inline constexpr fixed_record<lte_pdsch_stat_fields> lte_pdsch_stat_record{93, "lte_pdsch_stat"};

inline constexpr const record_schema* lte_records[] = {
    &lte_srv_meas_pcc_record,     &lte_srv_meas_scc1_record,    &lte_srv_meas_scc2_record,
    &lte_srv_meas_scc3_record,    &lte_srv_meas_scc4_record,    &lte_srv_meas_scc5_record,
    &lte_srv_meas_scc_record,     &lte_mac_rach_attempt_record, &lte_mac_ul_transport_block_record,
    &lte_rrc_serving_cell_record, &lte_rx_agc_record,           &lte_pusch_csf_record,
    &lte_tx_power_record,         &lte_pusch_power_record,      &lte_pucch_power_record,
    &lte_pdsch_stat_record,
};

}  // namespace modem_stats
