// Records of the NR5G ML1 and LL1 logs.
#pragma once

#include "modem_stats/record_schema.h"

namespace modem_stats {

inline constexpr auto nr5g_rssi_fields =
    fields(field<u32>{"version"}, field<f32>{"rssi0", "dBm"}, field<f32>{"rssi1", "dBm"},
           field<f32>{"rssi2", "dBm"}, field<f32>{"rssi3", "dBm"});
inline constexpr fixed_record nr5g_ll1_fw_rx_control_agc_record{
    MODEM_STATS_DATA_ID_NR5G_LL1_FW_RX_CONTROL_AGC, "nr5g_ll1_fw_rx_control_agc", nr5g_rssi_fields};

inline constexpr auto nr5g_snr_fields =
    fields(field<u32>{"version"}, field<f32>{"snr0", "dB"}, field<f32>{"snr1", "dB"},
           field<f32>{"snr2", "dB"}, field<f32>{"snr3", "dB"});
inline constexpr fixed_record nr5g_ll1_fw_serving_ftl_record{
    MODEM_STATS_DATA_ID_NR5G_LL1_FW_SERVING_FTL, "nr5g_ll1_fw_serving_ftl", nr5g_snr_fields};

inline constexpr auto nr5g_antenna_switch_fields =
    fields(field<u32>{"version"}, field<u8>{"ant_rx_0_old"}, field<u8>{"ant_rx_0_new"},
           field<u8>{"ant_rx_1_old"}, field<u8>{"ant_rx_1_new"}, field<u8>{"ant_rx_2_old"},
           field<u8>{"ant_rx_2_new"}, field<u8>{"ant_rx_3_old"}, field<u8>{"ant_rx_3_new"},
           field<u8>{"ant_tx_0_old"}, field<u8>{"ant_tx_0_new"}, field<u8>{"ant_tx_1_old"},
           field<u8>{"ant_tx_1_new"});
inline constexpr fixed_record nr5g_ml1_antenna_switch_diversity_record{
    MODEM_STATS_DATA_ID_NR5G_ML1_ANTENNA_SWITCH_DIVERSITY, "nr5g_ml1_antenna_switch_diversity",
    nr5g_antenna_switch_fields};

/// Primary and secondary carriers alike.
inline constexpr auto nr5g_meas_fields =
    fields(field<u32>{"version"}, field<f32>{"rsrp_rx0", "dBm"}, field<f32>{"rsrp_rx1", "dBm"},
           field<f32>{"rsrp_rx2", "dBm"}, field<f32>{"rsrp_rx3", "dBm"}, field<f32>{"rsrq", "dB"});
inline constexpr fixed_record nr5g_ml1_meas_pcc_record{MODEM_STATS_DATA_ID_NR5G_ML1_MEAS_PCC,
                                                       "nr5g_ml1_meas_pcc", nr5g_meas_fields};
inline constexpr fixed_record nr5g_ml1_meas_scc1_record{MODEM_STATS_DATA_ID_NR5G_ML1_MEAS_SCC1,
                                                        "nr5g_ml1_meas_scc1", nr5g_meas_fields};
inline constexpr fixed_record nr5g_ml1_meas_scc2_record{MODEM_STATS_DATA_ID_NR5G_ML1_MEAS_SCC2,
                                                        "nr5g_ml1_meas_scc2", nr5g_meas_fields};

inline constexpr const record_schema* nr5g_ml1_ll1_records[] = {
    &nr5g_ll1_fw_rx_control_agc_record,
    &nr5g_ll1_fw_serving_ftl_record,
    &nr5g_ml1_antenna_switch_diversity_record,
    &nr5g_ml1_meas_pcc_record,
    &nr5g_ml1_meas_scc1_record,
    &nr5g_ml1_meas_scc2_record,
};

}  // namespace modem_stats
