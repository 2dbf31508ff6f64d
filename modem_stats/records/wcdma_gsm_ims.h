// Records of the WCDMA, GSM and IMS logs.
#pragma once

#include "modem_stats/record_schema.h"

namespace modem_stats {

inline constexpr auto wcdma_pn_search_fields =
    fields(field<u8>{"version"}, field<f32>{"rx_agc_0", "dBm"}, field<f32>{"rx_agc_1", "dBm"});
inline constexpr fixed_record wcdma_pn_search_record{
    MODEM_STATS_DATA_ID_WCDMA_PN_SEARCH, "wcdma_pn_search_edition2", wcdma_pn_search_fields};

inline constexpr auto gsm_rx_diversity_fields =
    fields(field<u8>{"version"}, field<f32>{"rx_prx", "dBm"}, field<f32>{"rx_drx", "dBm"});
inline constexpr fixed_record gsm_l1_rx_diversity_record{
    MODEM_STATS_DATA_ID_GSM_L1_RX_DIVERSITY_METRICS, "gsm_l1_rx_diversity_metrics",
    gsm_rx_diversity_fields};

inline constexpr auto ims_rtp_fields =
    fields(field<u8>{"version"}, field<u8>{"codec_type"}, field<u8>{"frame_type"});
inline constexpr fixed_record ims_rtp_record{MODEM_STATS_DATA_ID_IMS_RTP_SN_AND_PAYLOAD,
                                             "ims_rtp_sn_and_payload", ims_rtp_fields};

inline constexpr const record_schema* wcdma_gsm_ims_records[] = {
    &wcdma_pn_search_record,
    &gsm_l1_rx_diversity_record,
    &ims_rtp_record,
};

}  // namespace modem_stats
