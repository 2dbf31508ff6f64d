// Records of the NR5G RRC, L2 and MAC logs.
#pragma once

#include "modem_stats/record_schema.h"

namespace modem_stats {

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
inline constexpr record_schema nr5g_rrc_configuration_record =
    record_of_parts(MODEM_STATS_DATA_ID_NR5G_RRC_CONFIGURATION_INFO, "nr5g_rrc_configuration_info",
                    record_part{nr5g_rrc_configuration_head.rows},
                    record_part{nr5g_rrc_configuration_carrier.rows,
                                "carriers",
                                {"num_active_cc", "num_nrdc_scg_active_cc"}},
                    record_part{nr5g_rrc_configuration_bearer.rows, "bearers", {"num_active_rb"}},
                    record_part{nr5g_rrc_configuration_tail.rows});

inline constexpr const record_schema* nr5g_mac_rrc_records[] = {
    &nr5g_rrc_configuration_record,
};

}  // namespace modem_stats
