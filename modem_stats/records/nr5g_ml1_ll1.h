// Records of the NR5G ML1 and LL1 logs.
#pragma once

#include "modem_stats/record_schema.h"

namespace modem_stats {

inline constexpr auto nr5g_rssi_fields =
    fields(field<u32>{"version"}, field<f32>{"rssi0", "dBm"}, field<f32>{"rssi1", "dBm"},
           field<f32>{"rssi2", "dBm"}, field<f32>{"rssi3", "dBm"});
inline constexpr fixed_record<nr5g_rssi_fields> nr5g_ll1_fw_rx_control_agc_record{
    94, "nr5g_ll1_fw_rx_control_agc"};

inline constexpr auto nr5g_tx_power_fields =
    fields(field<u32>{"version"}, field<u8>{"version_power"}, field<u8>{"loop_num"},
           field<i16>{"pusch_tx", "dBm"}, field<i16>{"pusch_path_loss", "dB"},
           field<i16>{"pusch_mtpl", "dBm"}, field<i16>{"pucch_tx", "dBm"},
           field<i16>{"pucch_path_loss", "dB"}, field<i16>{"pucch_mtpl", "dBm"},
           field<i16>{"srs_tx", "dBm"}, field<i16>{"srs_path_loss", "dB"},
           field<i16>{"srs_mtpl", "dBm"}, field<i16>{"prach_tx", "dBm"},
           field<i16>{"prach_path_loss", "dB"}, field<i16>{"prach_mtpl", "dBm"});
inline constexpr fixed_record<nr5g_tx_power_fields> nr5g_ll1_fw_mac_tx_iu_power_record{
    99, "nr5g_ll1_fw_mac_tx_iu_power"};

inline constexpr auto nr5g_snr_fields =
    fields(field<u32>{"version"}, field<f32>{"snr0", "dB"}, field<f32>{"snr1", "dB"},
           field<f32>{"snr2", "dB"}, field<f32>{"snr3", "dB"});
inline constexpr fixed_record<nr5g_snr_fields> nr5g_ll1_fw_serving_ftl_record{
    112, "nr5g_ll1_fw_serving_ftl"};

inline constexpr fixed_record<nr5g_snr_fields> nr5g_ll1_log_serving_snr_record{
    137, "nr5g_ll1_log_serving_snr"};

inline constexpr auto nr5g_srv_beam_fields =
    fields(field<u32>{"version"}, field<f32>{"rsrp", "dBm"}, field<f32>{"rsrq", "dB"});
inline constexpr fixed_record<nr5g_srv_beam_fields> nr5g_ml1_srv_beam_record{91,
                                                                             "nr5g_ml1_srv_beam"};

inline constexpr auto nr5g_fc_information_fields =
    fields(field<u32>{"version"}, field<u8>{"state_last"}, field<u8>{"state_current"},
           field<u8>{"num_action"}, field<u8>{"action_type"}, field<u8>{"level_last"},
           field<u8>{"level_current"});
inline constexpr fixed_record<nr5g_fc_information_fields> nr5g_ml1_fc_information_record{
    145, "nr5g_ml1_fc_information"};

inline constexpr auto nr5g_antenna_switch_fields =
    fields(field<u32>{"version"}, field<u8>{"ant_rx_0_old"}, field<u8>{"ant_rx_0_new"},
           field<u8>{"ant_rx_1_old"}, field<u8>{"ant_rx_1_new"}, field<u8>{"ant_rx_2_old"},
           field<u8>{"ant_rx_2_new"}, field<u8>{"ant_rx_3_old"}, field<u8>{"ant_rx_3_new"},
           field<u8>{"ant_tx_0_old"}, field<u8>{"ant_tx_0_new"}, field<u8>{"ant_tx_1_old"},
           field<u8>{"ant_tx_1_new"});
inline constexpr fixed_record<nr5g_antenna_switch_fields> nr5g_ml1_antenna_switch_diversity_record{
    113, "nr5g_ml1_antenna_switch_diversity"};

/// For both primary and secondary carriers.
inline constexpr auto nr5g_meas_fields =
    fields(field<u32>{"version"}, field<f32>{"rsrp_rx0", "dBm"}, field<f32>{"rsrp_rx1", "dBm"},
           field<f32>{"rsrp_rx2", "dBm"}, field<f32>{"rsrp_rx3", "dBm"}, field<f32>{"rsrq", "dB"});
inline constexpr fixed_record<nr5g_meas_fields> nr5g_ml1_meas_pcc_record{135, "nr5g_ml1_meas_pcc"};
inline constexpr fixed_record<nr5g_meas_fields> nr5g_ml1_meas_scc1_record{6, "nr5g_ml1_meas_scc1"};
inline constexpr fixed_record<nr5g_meas_fields> nr5g_ml1_meas_scc2_record{7, "nr5g_ml1_meas_scc2"};

inline constexpr const record_schema* nr5g_ml1_ll1_records[] = {
    &nr5g_ll1_fw_rx_control_agc_record,
    &nr5g_ll1_fw_mac_tx_iu_power_record,
    &nr5g_ll1_fw_serving_ftl_record,
    &nr5g_ll1_log_serving_snr_record,
    &nr5g_ml1_srv_beam_record,
    &nr5g_ml1_fc_information_record,
    &nr5g_ml1_antenna_switch_diversity_record,
    &nr5g_ml1_meas_pcc_record,
    &nr5g_ml1_meas_scc1_record,
    &nr5g_ml1_meas_scc2_record,
};

}  // namespace modem_stats
