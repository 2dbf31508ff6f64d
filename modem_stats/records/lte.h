// Records of the LTE logs.
#pragma once

#include "modem_stats/record_schema.h"

namespace modem_stats {

/// The 4G carrier record, which the serving-cell measurement log and the statistics service share.
inline constexpr auto lte_carrier_fields =
    fields(field<u8>{"version"}, field<u8>{"version_ssmr"}, field<u32>{"earfcn"}, field<u16>{"pci"},
           field<u8>{"is_srv_cell"}, field<u16>{"rx_valid"},  //
           field<f32>{"rsrp_rx0", "dBm"}, field<f32>{"rsrq_rx0", "dB"},
           field<f32>{"rssi_rx0", "dBm"}, field<f32>{"snr_rx0", "dB"},  //
           field<f32>{"rsrp_rx1", "dBm"}, field<f32>{"rsrq_rx1", "dB"},
           field<f32>{"rssi_rx1", "dBm"}, field<f32>{"snr_rx1", "dB"},  //
           field<f32>{"rsrp_rx2", "dBm"}, field<f32>{"rsrq_rx2", "dB"},
           field<f32>{"rssi_rx2", "dBm"}, field<f32>{"snr_rx2", "dB"},  //
           field<f32>{"rsrp_rx3", "dBm"}, field<f32>{"rsrq_rx3", "dB"},
           field<f32>{"rssi_rx3", "dBm"}, field<f32>{"snr_rx3", "dB"});
inline constexpr fixed_record<lte_carrier_fields> lte_srv_meas_pcc_record{82, "lte_srv_meas_pcc"};
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
/// The log uses this one for every secondary carrier.
inline constexpr fixed_record<lte_carrier_fields> lte_srv_meas_scc6_record{108,
                                                                           "lte_srv_meas_scc6"};

inline constexpr auto lte_mac_rach_attempt_fields =
    fields(field<u8>{"version"}, field<u8>{"version_sub"}, field<u8>{"rach_result"});
inline constexpr fixed_record<lte_mac_rach_attempt_fields> lte_mac_rach_attempt_record{
    132, "lte_mac_rach_attempt"};

inline constexpr auto lte_mac_ul_transport_block_fields =
    fields(field<u8>{"version"}, field<u16>{"phr_ind"}, field<u32>{"bsr_lcg3_avg", "byte"},
           field<u16>{"bsr_lcg3_num"}, field<u32>{"bsr_lcg3_bytes", "byte"});
inline constexpr fixed_record<lte_mac_ul_transport_block_fields> lte_mac_ul_transport_block_record{
    114, "lte_mac_ul_transport_block"};

inline constexpr auto lte_rrc_serving_cell_fields =
    fields(field<u8>{"version"}, field<u16>{"mcc"}, field<u8>{"mnc_num"}, field<u16>{"mnc"},
           field<u16>{"tac"}, field<u32>{"cgi"}, field<u16>{"pci"}, field<u32>{"freq_band_ind"},
           field<u32>{"dl_earfcn"}, field<u8>{"dl_bw", "RB"}, field<u32>{"ul_earfcn"},
           field<u8>{"ul_bw", "RB"}, field<u8>{"allow_access"});
inline constexpr fixed_record<lte_rrc_serving_cell_fields> lte_rrc_serving_cell_record{
    129, "lte_rrc_serving_cell_info"};

inline constexpr auto lte_rx_agc_fields =
    fields(field<u8>{"version"}, field<u8>{"num_records"}, field<f32>{"rssi0", "dBm"},
           field<f32>{"rssi1", "dBm"}, field<f32>{"rssi2", "dBm"}, field<f32>{"rssi3", "dBm"});
inline constexpr fixed_record<lte_rx_agc_fields> lte_rx_agc_record{96, "lte_ll1_rx_agc"};

inline constexpr auto lte_pusch_csf_fields =
    fields(field<u8>{"version"}, field<u8>{"rank_idx"}, field<u16>{"wideband_cqi_cw0"});
inline constexpr fixed_record<lte_pusch_csf_fields> lte_pusch_csf_record{84, "lte_pusch_csf"};

inline constexpr auto lte_tx_power_head = fields(field<u8>{"version"}, field<u8>{"num"});
inline constexpr auto lte_tx_power_report = fields(
    field<i8>{"pucch_tx_power", "dBm"}, field<u8>{"pusch_num_res_blocks", "RB"},
    field<u8>{"pusch_modulation_type"}, field<i8>{"pusch_tx_power", "dBm"}, field<u8>{"pusch_mcs"});
inline constexpr record_schema lte_tx_power_record =
    record_of_parts(83, "lte_tx_power", record_part{lte_tx_power_head.rows},
                    record_part{lte_tx_power_report.rows, "reports", {"num"}});

inline constexpr auto lte_pusch_power_fields =
    fields(field<u8>{"version"}, field<u8>{"num_records"}, field<i8>{"pusch_tx_power", "dBm"},
           field<u8>{"dl_path_loss", "dB"});
inline constexpr fixed_record<lte_pusch_power_fields> lte_pusch_power_record{
    98, "lte_pusch_power_control"};
inline constexpr auto lte_pucch_power_fields =
    fields(field<u8>{"version"}, field<u8>{"num_records"}, field<i8>{"pucch_tx_power", "dBm"},
           field<u8>{"dl_path_loss", "dB"});
inline constexpr fixed_record<lte_pucch_power_fields> lte_pucch_power_record{
    128, "lte_pucch_power_control"};

inline constexpr auto lte_pdsch_stat_fields =
    fields(field<u8>{"version"}, field<u8>{"num_records"}, field<u8>{"pdsch_mcs"},
           field<u8>{"pdsch_rb", "RB"}, field<u8>{"pdsch_mod_type"}, field<u8>{"pdsch_rnti_type"},
           field<u8>{"num_layers"}, field<u32>{"tb_bytes", "byte"}, field<u8>{"num_layers_crnti"},
           field<u64>{"tb_bytes_crnti", "byte"}, field<u8>{"crc_result"});
inline constexpr fixed_record<lte_pdsch_stat_fields> lte_pdsch_stat_record{
    93, "lte_pdsch_stat_indication"};

inline constexpr const record_schema* lte_records[] = {
    &lte_srv_meas_pcc_record,     &lte_srv_meas_scc1_record,    &lte_srv_meas_scc2_record,
    &lte_srv_meas_scc3_record,    &lte_srv_meas_scc4_record,    &lte_srv_meas_scc5_record,
    &lte_srv_meas_scc6_record,    &lte_mac_rach_attempt_record, &lte_mac_ul_transport_block_record,
    &lte_rrc_serving_cell_record, &lte_rx_agc_record,           &lte_pusch_csf_record,
    &lte_tx_power_record,         &lte_pusch_power_record,      &lte_pucch_power_record,
    &lte_pdsch_stat_record,
};

}  // namespace modem_stats
