// SAR, the standard service that limits transmit power: one state, 0 to 20, which is kept.
#pragma once

#include "services/sar_v01.h"
#include "simulator/service.h"

namespace sim {

[[nodiscard]] reply set_rf_state(const request& asked);
[[nodiscard]] reply get_rf_state(const request& asked);

inline constexpr tlv_row sar_set_request_tlvs[] = {{0x01, "RF state"}};
inline constexpr tlv_row sar_set_response_tlvs[] = {{0x02, "standard response"}};
inline constexpr tlv_row sar_get_response_tlvs[] = {{0x02, "standard response"},
                                                    {0x10, "RF state"}};
inline constexpr message_row sar_messages[] = {
    {sar_rf_set_state_v01, "set RF state", set_rf_state, sar_set_request_tlvs,
     sar_set_response_tlvs},
    {sar_rf_get_state_v01, "get RF state", get_rf_state, {}, sar_get_response_tlvs},
};

}  // namespace sim
