// Records of the LTE logs.
#pragma once

#include "modem_stats/record_schema.h"

namespace modem_stats {

/// The 4G carrier record, of the serving-cell measurement log and of the statistics service.
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
inline constexpr fixed_record lte_srv_meas_pcc_record{MODEM_STATS_DATA_ID_LTE_SRV_MEAS_PCC,
                                                      "lte_srv_meas_pcc", lte_carrier_fields};
inline constexpr fixed_record lte_srv_meas_scc1_record{MODEM_STATS_DATA_ID_LTE_SRV_MEAS_SCC1,
                                                       "lte_srv_meas_scc1", lte_carrier_fields};
inline constexpr fixed_record lte_srv_meas_scc2_record{MODEM_STATS_DATA_ID_LTE_SRV_MEAS_SCC2,
                                                       "lte_srv_meas_scc2", lte_carrier_fields};
inline constexpr fixed_record lte_srv_meas_scc3_record{MODEM_STATS_DATA_ID_LTE_SRV_MEAS_SCC3,
                                                       "lte_srv_meas_scc3", lte_carrier_fields};
inline constexpr fixed_record lte_srv_meas_scc4_record{MODEM_STATS_DATA_ID_LTE_SRV_MEAS_SCC4,
                                                       "lte_srv_meas_scc4", lte_carrier_fields};
inline constexpr fixed_record lte_srv_meas_scc5_record{MODEM_STATS_DATA_ID_LTE_SRV_MEAS_SCC5,
                                                       "lte_srv_meas_scc5", lte_carrier_fields};
/// The log makes this one of every secondary carrier.
inline constexpr fixed_record lte_srv_meas_scc6_record{MODEM_STATS_DATA_ID_LTE_SRV_MEAS_SCC6,
                                                       "lte_srv_meas_scc6", lte_carrier_fields};

inline constexpr auto lte_mac_rach_attempt_fields =
    fields(field<u8>{"version"}, field<u8>{"version_sub"}, field<u8>{"rach_result"});
inline constexpr fixed_record lte_mac_rach_attempt_record{
    MODEM_STATS_DATA_ID_LTE_MAC_RACH_ATTEMPT, "lte_mac_rach_attempt", lte_mac_rach_attempt_fields};

inline constexpr const record_schema* lte_records[] = {
    &lte_srv_meas_pcc_record,  &lte_srv_meas_scc1_record,    &lte_srv_meas_scc2_record,
    &lte_srv_meas_scc3_record, &lte_srv_meas_scc4_record,    &lte_srv_meas_scc5_record,
    &lte_srv_meas_scc6_record, &lte_mac_rach_attempt_record,
};

}  // namespace modem_stats
