// Records of the NR5G ML1 and LL1 logs.
#pragma once

#include "modem_stats/conversions.h"
#include "modem_stats/record_schema.h"
#include "modem_stats/records/quantities.h"

namespace modem_stats {

// What values come out as that were not measured, of channels that were not sent, and of chains
// that the packet does not have.
inline constexpr null_rule nr5g_not_measured = null_if(modem_stats_not_measured);
inline constexpr null_rule nr5g_not_sent = null_if(32767);
inline constexpr null_rule nr5g_chain_absent = null_if(-512.0F);
/// Also for the lowest levels of old and new packets, which stand for nothing measured.
inline constexpr null_rule nr5g_no_rsrp = null_if(modem_stats_not_measured, -140.0F, -156.0F);

// The cell of the levels, which their records lack. The markers stand for a packet that ends before
// it.
inline constexpr u32 nr5g_no_pci = 65535;
inline constexpr u32 nr5g_no_arfcn = UINT32_MAX;
inline constexpr u8 nr5g_no_carrier = 255;
inline constexpr field<u32> nr5g_cell_pci{"pci", of::pci, null_if(nr5g_no_pci)};
inline constexpr field<u32> nr5g_cell_arfcn{"arfcn", of::dl_nr_arfcn, null_if(nr5g_no_arfcn)};
inline constexpr field<u8> nr5g_cell_carrier{"carrier_index", of::carrier_index,
                                             null_if(nr5g_no_carrier)};

inline constexpr auto nr5g_rssi_fields =
    fields(field<u32>{"version", of::packet_version},
           field<f32>{"rssi0", of::rssi_rx[0], nr5g_chain_absent},
           field<f32>{"rssi1", of::rssi_rx[1], nr5g_chain_absent},
           field<f32>{"rssi2", of::rssi_rx[2], nr5g_chain_absent},
           field<f32>{"rssi3", of::rssi_rx[3], nr5g_chain_absent});
inline constexpr fixed_record<nr5g_rssi_fields> nr5g_ll1_fw_rx_control_agc_record{
    94, "nr5g_ll1_rx_agc"};

inline constexpr auto nr5g_tx_power_fields = fields(
    field<u32>{"version", of::packet_version}, field<u8>{"version_power", of::sub_packet_version},
    field<u8>{"loop_num", of::num_power_infos},
    field<i16>{"pusch_tx", of::pusch_tx_power, nr5g_not_sent},
    field<i16>{"pusch_path_loss", of::pusch_path_loss, nr5g_not_sent},
    field<i16>{"pusch_mtpl", of::pusch_max_tx_power, nr5g_not_sent},
    field<i16>{"pucch_tx", of::pucch_tx_power, nr5g_not_sent},
    field<i16>{"pucch_path_loss", of::pucch_path_loss, nr5g_not_sent},
    field<i16>{"pucch_mtpl", of::pucch_max_tx_power, nr5g_not_sent},
    field<i16>{"srs_tx", of::srs_tx_power, nr5g_not_sent},
    field<i16>{"srs_path_loss", of::srs_path_loss, nr5g_not_sent},
    field<i16>{"srs_mtpl", of::srs_max_tx_power, nr5g_not_sent},
    field<i16>{"prach_tx", of::prach_tx_power, nr5g_not_sent},
    field<i16>{"prach_path_loss", of::prach_path_loss, nr5g_not_sent},
    field<i16>{"prach_mtpl", of::prach_max_tx_power, nr5g_not_sent});
inline constexpr fixed_record<nr5g_tx_power_fields> nr5g_ll1_fw_mac_tx_iu_power_record{
    99, "nr5g_ll1_tx_power"};

inline constexpr auto nr5g_snr_fields = fields(
    field<u32>{"version", of::packet_version}, field<f32>{"snr0", of::snr_rx[0], nr5g_not_measured},
    field<f32>{"snr1", of::snr_rx[1], nr5g_not_measured},
    field<f32>{"snr2", of::snr_rx[2], nr5g_not_measured},
    field<f32>{"snr3", of::snr_rx[3], nr5g_not_measured});
inline constexpr auto nr5g_ftl_cell = fields(nr5g_cell_pci, nr5g_cell_arfcn, nr5g_cell_carrier);
inline constexpr fixed_record<nr5g_snr_fields, nr5g_ftl_cell> nr5g_ll1_fw_serving_ftl_record{
    112, "nr5g_ll1_serving_ftl"};

inline constexpr auto nr5g_snr_cell = fields(nr5g_cell_pci, nr5g_cell_carrier);
inline constexpr fixed_record<nr5g_snr_fields, nr5g_snr_cell> nr5g_ll1_log_serving_snr_record{
    137, "nr5g_ll1_serving_snr"};

inline constexpr auto nr5g_srv_beam_fields =
    fields(field<u32>{"version", of::packet_version}, field<f32>{"rsrp", of::rsrp, null_if(0.0F)},
           field<f32>{"rsrq", of::rsrq, null_if(0.0F)});
inline constexpr auto nr5g_srv_beam_cell = fields(nr5g_cell_pci);
inline constexpr fixed_record<nr5g_srv_beam_fields, nr5g_srv_beam_cell> nr5g_ml1_srv_beam_record{
    91, "nr5g_ml1_srv_beam"};

inline constexpr auto nr5g_fc_information_fields = fields(
    field<u32>{"version", of::packet_version}, field<u8>{"state_last", of::fc_state_last_code},
    field<u8>{"state_current", of::fc_state_current_code},
    field<u8>{"num_action", of::num_fc_actions},
    field<u8>{"action_type", of::fc_action_type_code, null_if(255)},
    field<u8>{"level_last", of::fc_level_last, null_if(255)},
    field<u8>{"level_current", of::fc_level_current, null_if(255)});
inline constexpr fixed_record<nr5g_fc_information_fields> nr5g_ml1_fc_information_record{
    145, "nr5g_ml1_fc_information"};

inline constexpr auto nr5g_antenna_switch_fields =
    fields(field<u32>{"version", of::packet_version},
           field<u8>{"ant_rx_0_old", of::antenna_old_rx[0], null_if(255)},
           field<u8>{"ant_rx_0_new", of::antenna_new_rx[0], null_if(255)},
           field<u8>{"ant_rx_1_old", of::antenna_old_rx[1], null_if(255)},
           field<u8>{"ant_rx_1_new", of::antenna_new_rx[1], null_if(255)},
           field<u8>{"ant_rx_2_old", of::antenna_old_rx[2], null_if(255)},
           field<u8>{"ant_rx_2_new", of::antenna_new_rx[2], null_if(255)},
           field<u8>{"ant_rx_3_old", of::antenna_old_rx[3], null_if(255)},
           field<u8>{"ant_rx_3_new", of::antenna_new_rx[3], null_if(255)},
           field<u8>{"ant_tx_0_old", of::antenna_old_tx[0], null_if(255)},
           field<u8>{"ant_tx_0_new", of::antenna_new_tx[0], null_if(255)},
           field<u8>{"ant_tx_1_old", of::antenna_old_tx[1], null_if(255)},
           field<u8>{"ant_tx_1_new", of::antenna_new_tx[1], null_if(255)});
inline constexpr fixed_record<nr5g_antenna_switch_fields> nr5g_ml1_antenna_switch_diversity_record{
    113, "nr5g_ml1_antenna_switch"};

/// For both primary and secondary carriers.
inline constexpr auto nr5g_meas_fields = fields(
    field<u32>{"version", of::packet_version}, field<f32>{"rsrp_rx0", of::rsrp_rx[0], nr5g_no_rsrp},
    field<f32>{"rsrp_rx1", of::rsrp_rx[1], nr5g_no_rsrp},
    field<f32>{"rsrp_rx2", of::rsrp_rx[2], nr5g_no_rsrp},
    field<f32>{"rsrp_rx3", of::rsrp_rx[3], nr5g_no_rsrp},
    field<f32>{"rsrq", of::rsrq, null_if(0.0F, -43.0F)});
inline constexpr auto nr5g_meas_cell =
    fields(field<u16>{"pci", of::pci}, field<u32>{"arfcn", of::ssb_nr_arfcn});
inline constexpr fixed_record<nr5g_meas_fields, nr5g_meas_cell> nr5g_ml1_meas_pcc_record{
    135, "nr5g_srv_meas_pcc"};
inline constexpr fixed_record<nr5g_meas_fields, nr5g_meas_cell> nr5g_ml1_meas_scc1_record{
    6, "nr5g_srv_meas_scc1"};
inline constexpr fixed_record<nr5g_meas_fields, nr5g_meas_cell> nr5g_ml1_meas_scc2_record{
    7, "nr5g_srv_meas_scc2"};

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
