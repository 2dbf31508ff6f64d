// The vendor's statistics service: records of what the radio measures, by data id, once the
// feature is switched on. A restart switches it off.
#pragma once

#include "services/vendor_stats_v01.h"
#include "simulator/service.h"

namespace sim {

/// Error 26 when nothing changes.
[[nodiscard]] reply switch_statistics(const request& asked);
/// An entry for each id that is known and measured; error 69 while the feature is off.
[[nodiscard]] reply get_statistics(const request& asked);

inline constexpr tlv_row statistics_switch_request_tlvs[] = {
    {0x01, "feature"}, {0x10, "enable"}, {0x11, "option"}};
inline constexpr tlv_row statistics_switch_response_tlvs[] = {{0x02, "standard response"}};
inline constexpr tlv_row statistics_get_request_tlvs[] = {
    {0x01, "subscription"}, {0x02, "number"}, {0x03, "data ids", shown_as::bytes}};
inline constexpr tlv_row statistics_get_response_tlvs[] = {{0x02, "standard response"},
                                                           {0x10, "entries", shown_as::bytes}};
inline constexpr message_row statistics_messages[] = {
    {vendor_stats_feature_v01, "switch feature", switch_statistics, statistics_switch_request_tlvs,
     statistics_switch_response_tlvs},
    {vendor_stats_get_v01, "get statistics", get_statistics, statistics_get_request_tlvs,
     statistics_get_response_tlvs},
};

}  // namespace sim
