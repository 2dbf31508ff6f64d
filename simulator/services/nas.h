// NAS, the standard service of the network: how well the first subscription's radio receives its
// cells, and where they are. Without a card, or with the radio off, error 74.
#pragma once

#include "services/nas_v01.h"
#include "simulator/service.h"

namespace sim {

[[nodiscard]] reply get_signal_strength(const request& asked);
[[nodiscard]] reply get_rf_band_info(const request& asked);
[[nodiscard]] reply get_signal_info(const request& asked);

inline constexpr tlv_row nas_signal_strength_request_tlvs[] = {{0x10, "wanted"}};
inline constexpr tlv_row nas_signal_strength_response_tlvs[] = {{0x01, "strength", shown_as::bytes},
                                                                {0x02, "standard response"},
                                                                {0x11, "RSSI", shown_as::bytes},
                                                                {0x16, "RSRQ", shown_as::bytes},
                                                                {0x17, "LTE SNR"},
                                                                {0x18, "LTE RSRP"}};
inline constexpr tlv_row nas_rf_band_response_tlvs[] = {{0x01, "bands"},
                                                        {0x02, "standard response"},
                                                        {0x11, "bands, wide channels"},
                                                        {0x12, "bandwidths"}};
inline constexpr tlv_row nas_signal_info_response_tlvs[] = {
    {0x02, "standard response"}, {0x14, "LTE"}, {0x17, "NR", shown_as::bytes}, {0x18, "NR RSRQ"}};
inline constexpr message_row nas_messages[] = {
    {nas_get_signal_strength_v01, "get signal strength", get_signal_strength,
     nas_signal_strength_request_tlvs, nas_signal_strength_response_tlvs},
    {nas_get_rf_band_info_v01, "get RF band info", get_rf_band_info, {}, nas_rf_band_response_tlvs},
    {nas_get_signal_info_v01,
     "get signal info",
     get_signal_info,
     {},
     nas_signal_info_response_tlvs},
};

}  // namespace sim
