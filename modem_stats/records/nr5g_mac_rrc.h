// Records of the NR5G RRC, L2 and MAC logs.
#pragma once

#include "modem_stats/record_schema.h"

namespace modem_stats {

inline constexpr auto nr5g_rrc_serving_cell_fields =
    fields(field<u32>{"version"}, field<u16>{"mcc"}, field<u8>{"mnc_num"}, field<u16>{"mnc"},
           field<u32>{"tac"}, field<u64>{"cgi"}, field<u16>{"pci"}, field<u16>{"freq_band_ind"},
           field<u32>{"dl_earfcn"}, field<u16>{"dl_bw", "MHz"}, field<u32>{"ul_earfcn"},
           field<u16>{"ul_bw", "MHz"}, field<u8>{"allow_access"});
inline constexpr fixed_record<nr5g_rrc_serving_cell_fields> nr5g_rrc_serving_cell_record{
    130, "nr5g_rrc_serving_cell_info"};

inline constexpr auto nr5g_rrc_configuration_head =
    fields(field<u32>{"version"}, field<u8>{"num_contiguous_cc_groups"},
           field<u8>{"num_nrdc_scg_contiguous_cc_groups"}, field<u8>{"num_active_cc"},
           field<u8>{"num_nrdc_scg_active_cc"}, field<u8>{"num_active_rb"});
inline constexpr auto nr5g_rrc_configuration_carrier =
    fields(field<u16>{"pci"}, field<u32>{"arfcn_dl"}, field<u32>{"arfcn_ul"}, field<u16>{"band"},
           field<u8>{"band_type"}, field<u8>{"bw_dl"}, field<u8>{"bw_ul"});
inline constexpr auto nr5g_rrc_configuration_bearer =
    fields(field<u8>{"dl_rb_type"}, field<u8>{"dl_rb_path"}, field<u8>{"dl_rohc_enable"},
           field<u8>{"ul_rb_type"}, field<u8>{"ul_rb_path"}, field<u8>{"ul_rohc_enable"});
inline constexpr auto nr5g_rrc_configuration_tail =
    fields(field<u8>{"rrc_state"}, field<u8>{"conn_mode"});
inline constexpr record_schema nr5g_rrc_configuration_record = record_of_parts(
    97, "nr5g_rrc_configuration_info", record_part{nr5g_rrc_configuration_head.rows},
    record_part{nr5g_rrc_configuration_carrier.rows,
                "carriers",
                {"num_active_cc", "num_nrdc_scg_active_cc"}},
    record_part{nr5g_rrc_configuration_bearer.rows, "bearers", {"num_active_rb"}},
    record_part{nr5g_rrc_configuration_tail.rows});

/// Buffer size indices, whether 5 or 8 bits wide.
inline constexpr auto nr5g_l2_ul_tb_fields =
    fields(field<u32>{"version"}, field<u16>{"bsr_idx"}, field<u16>{"bsr_idx_num"},
           field<u16>{"bsr_idx_sum"});
inline constexpr fixed_record<nr5g_l2_ul_tb_fields> nr5g_l2_ul_tb_record{115, "nr5g_l2_ul_tb"};

/// A power is 32767 if the packet has no such channel.
inline constexpr auto nr5g_mac_ul_power_fields =
    fields(field<u32>{"version"}, field<u8>{"num_carriers"},
           field<i16>{"tx_power_pusch", "0.1 dBm"}, field<i16>{"tx_power_pucch", "0.1 dBm"},
           field<i16>{"tx_power_srs", "0.1 dBm"}, field<i16>{"tx_power_prach", "0.1 dBm"});
inline constexpr fixed_record<nr5g_mac_ul_power_fields> nr5g_mac_ul_power_record{
    90, "nr5g_mac_ul_phy_ch_power_ctrl"};

/// An MCS is 255 if the packet has nothing for that direction.
inline constexpr auto nr5g_mac_dci_fields = fields(field<u32>{"version"}, field<u16>{"mcs_dl"},
                                                   field<u16>{"mcs_ul"}, field<u32>{"rb_assi_num"});
inline constexpr fixed_record<nr5g_mac_dci_fields> nr5g_mac_dci_record{85, "nr5g_mac_dci_info"};

inline constexpr auto nr5g_mac_pdsch_status_fields =
    fields(field<u32>{"version"}, field<u8>{"mod_type"}, field<u8>{"mcs"}, field<u8>{"num_layers"});
inline constexpr fixed_record<nr5g_mac_pdsch_status_fields> nr5g_mac_pdsch_status_record{
    87, "nr5g_mac_pdsch_status"};

inline constexpr auto nr5g_mac_pdsch_stats_fields =
    fields(field<u32>{"version"}, field<u32>{"num_pdcp_decode"}, field<u32>{"num_crc_fail"},
           field<u32>{"tb_bytes", "byte"});
inline constexpr fixed_record<nr5g_mac_pdsch_stats_fields> nr5g_mac_pdsch_stats_record{
    88, "nr5g_mac_pdsch_stats"};

/// The timing advance command is 65535 if message 2 was not received.
inline constexpr auto nr5g_mac_rach_attempt_fields =
    fields(field<u32>{"version"}, field<u16>{"ta"});
inline constexpr fixed_record<nr5g_mac_rach_attempt_fields> nr5g_mac_rach_attempt_record{
    86, "nr5g_mac_rach_attempt"};

inline constexpr auto nr5g_mac_csf_report_fields =
    fields(field<u32>{"version"}, field<u8>{"metrics_ri"}, field<u8>{"metrics_cqi"},
           field<u8>{"bitwidth_ri"}, field<u8>{"bitwidth_cqi"});
inline constexpr fixed_record<nr5g_mac_csf_report_fields> nr5g_mac_csf_report_record{
    89, "nr5g_mac_csf_report"};

inline constexpr const record_schema* nr5g_mac_rrc_records[] = {
    &nr5g_rrc_serving_cell_record, &nr5g_rrc_configuration_record, &nr5g_l2_ul_tb_record,
    &nr5g_mac_ul_power_record,     &nr5g_mac_dci_record,           &nr5g_mac_pdsch_status_record,
    &nr5g_mac_pdsch_stats_record,  &nr5g_mac_rach_attempt_record,  &nr5g_mac_csf_report_record,
};

}  // namespace modem_stats
