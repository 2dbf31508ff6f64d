// Records of the NR5G RRC, L2 and MAC logs.
#pragma once

#include "modem_stats/record_schema.h"
#include "modem_stats/records/quantities.h"

namespace modem_stats {

inline constexpr auto nr5g_rrc_serving_cell_fields = fields(
    field<u32>{"version", of::packet_version}, field<u16>{"mcc", of::mcc},
    field<u8>{"mnc_num", of::num_mnc_digits}, field<u16>{"mnc", of::mnc},
    field<u32>{"tac", of::tac}, field<u64>{"cgi", of::cell_identity, null_beyond_bits(36)},
    field<u16>{"pci", of::pci}, field<u16>{"freq_band_ind", of::band},
    field<u32>{"dl_earfcn", of::ssb_nr_arfcn}, field<u16>{"dl_bw", of::dl_bandwidth, null_if(0)},
    field<u32>{"ul_earfcn", of::ul_nr_arfcn}, field<u16>{"ul_bw", of::ul_bandwidth, null_if(0)},
    field<u8>{"allow_access", of::allow_access});
inline constexpr fixed_record<nr5g_rrc_serving_cell_fields> nr5g_rrc_serving_cell_record{
    130, "nr5g_rrc_serving_cell_info"};

inline constexpr auto nr5g_rrc_configuration_head =
    fields(field<u32>{"version", of::packet_version},
           field<u8>{"num_contiguous_cc_groups", of::num_cc_groups},
           field<u8>{"num_nrdc_scg_contiguous_cc_groups", of::num_nrdc_cc_groups},
           field<u8>{"num_active_cc", of::num_active_cc},
           field<u8>{"num_nrdc_scg_active_cc", of::num_nrdc_active_cc},
           field<u8>{"num_active_rb", of::num_active_bearers});
inline constexpr auto nr5g_rrc_configuration_carrier =
    fields(field<u16>{"pci", of::pci}, field<u32>{"arfcn_dl", of::dl_nr_arfcn},
           field<u32>{"arfcn_ul", of::ul_nr_arfcn, null_if(0, 0x3333)},
           field<u16>{"band", of::band}, field<u8>{"band_type", of::band_type_code},
           field<u8>{"bw_dl", of::dl_bandwidth_code}, field<u8>{"bw_ul", of::ul_bandwidth_code});
inline constexpr auto nr5g_rrc_configuration_bearer = fields(
    field<u8>{"dl_rb_type", of::dl_bearer_type_code},
    field<u8>{"dl_rb_path", of::dl_bearer_path_code}, field<u8>{"dl_rohc_enable", of::dl_rohc},
    field<u8>{"ul_rb_type", of::ul_bearer_type_code},
    field<u8>{"ul_rb_path", of::ul_bearer_path_code}, field<u8>{"ul_rohc_enable", of::ul_rohc});
inline constexpr auto nr5g_rrc_configuration_tail =
    fields(field<u8>{"rrc_state", of::nr_rrc_state_code},
           field<u8>{"conn_mode", of::connection_mode_code});
inline constexpr record_schema nr5g_rrc_configuration_record =
    record_of_parts(97, "nr5g_rrc_configuration", record_part{nr5g_rrc_configuration_head.rows},
                    record_part{nr5g_rrc_configuration_carrier.rows,
                                "carriers",
                                {"num_active_cc", "num_nrdc_scg_active_cc"}},
                    record_part{nr5g_rrc_configuration_bearer.rows, "bearers", {"num_active_rb"}},
                    record_part{nr5g_rrc_configuration_tail.rows});

/// Buffer size indices, whether 5 or 8 bits wide.
inline constexpr auto nr5g_l2_ul_tb_fields =
    fields(field<u32>{"version", of::packet_version}, field<u16>{"bsr_idx", of::bsr_index_average},
           field<u16>{"bsr_idx_num", of::num_bsr}, field<u16>{"bsr_idx_sum", of::bsr_index_sum});
inline constexpr fixed_record<nr5g_l2_ul_tb_fields> nr5g_l2_ul_tb_record{
    115, "nr5g_l2_ul_transport_block"};

/// In tenths of a dBm; 32767 if the packet has no such channel.
inline constexpr null_rule nr5g_no_channel = null_if(32767);
inline constexpr auto nr5g_mac_ul_power_fields =
    fields(field<u32>{"version", of::packet_version}, field<u8>{"num_carriers", of::num_carriers},
           field<i16>{"tx_power_pusch", of::pusch_tx_power, nr5g_no_channel, 1},
           field<i16>{"tx_power_pucch", of::pucch_tx_power, nr5g_no_channel, 1},
           field<i16>{"tx_power_srs", of::srs_tx_power, nr5g_no_channel, 1},
           field<i16>{"tx_power_prach", of::prach_tx_power, nr5g_no_channel, 1});
inline constexpr fixed_record<nr5g_mac_ul_power_fields> nr5g_mac_ul_power_record{
    90, "nr5g_mac_tx_power"};

/// An MCS is 255 if the packet has nothing for that direction.
inline constexpr auto nr5g_mac_dci_fields = fields(
    field<u32>{"version", of::packet_version}, field<u16>{"mcs_dl", of::pdsch_mcs, null_if(255)},
    field<u16>{"mcs_ul", of::pusch_mcs, null_if(255)},
    field<u32>{"rb_assi_num", of::pusch_rb_assignment, null_if_other("mcs_ul", 255)});
inline constexpr fixed_record<nr5g_mac_dci_fields> nr5g_mac_dci_record{85, "nr5g_mac_dci"};

inline constexpr auto nr5g_mac_pdsch_status_fields = fields(
    field<u32>{"version", of::packet_version}, field<u8>{"mod_type", of::nr_pdsch_modulation_code},
    field<u8>{"mcs", of::pdsch_mcs}, field<u8>{"num_layers", of::num_layers});
inline constexpr fixed_record<nr5g_mac_pdsch_status_fields> nr5g_mac_pdsch_status_record{
    87, "nr5g_mac_pdsch_status"};

inline constexpr auto nr5g_mac_pdsch_stats_fields = fields(
    field<u32>{"version", of::packet_version},
    field<u32>{"num_pdcp_decode", of::num_pdsch_decodes_total},
    field<u32>{"num_crc_fail", of::num_crc_failures_total}, field<u32>{"tb_bytes", of::tb_total});
inline constexpr fixed_record<nr5g_mac_pdsch_stats_fields> nr5g_mac_pdsch_stats_record{
    88, "nr5g_mac_pdsch_stats"};

/// The timing advance command is 65535 if message 2 was not received.
inline constexpr auto nr5g_mac_rach_attempt_fields =
    fields(field<u32>{"version", of::packet_version},
           field<u16>{"ta", of::timing_advance, null_if(65535)});
inline constexpr fixed_record<nr5g_mac_rach_attempt_fields> nr5g_mac_rach_attempt_record{
    86, "nr5g_mac_rach_attempt"};

inline constexpr auto nr5g_mac_csf_report_fields =
    fields(field<u32>{"version", of::packet_version}, field<u8>{"metrics_ri", of::rank_index},
           field<u8>{"metrics_cqi", of::cqi, null_if_other("bitwidth_cqi", 0)},
           field<u8>{"bitwidth_ri", of::num_ri_bits}, field<u8>{"bitwidth_cqi", of::num_cqi_bits});
inline constexpr fixed_record<nr5g_mac_csf_report_fields> nr5g_mac_csf_report_record{
    89, "nr5g_mac_csf_report"};

inline constexpr const record_schema* nr5g_mac_rrc_records[] = {
    &nr5g_rrc_serving_cell_record, &nr5g_rrc_configuration_record, &nr5g_l2_ul_tb_record,
    &nr5g_mac_ul_power_record,     &nr5g_mac_dci_record,           &nr5g_mac_pdsch_status_record,
    &nr5g_mac_pdsch_stats_record,  &nr5g_mac_rach_attempt_record,  &nr5g_mac_csf_report_record,
};

}  // namespace modem_stats
