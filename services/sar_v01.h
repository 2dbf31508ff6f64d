// The standard SAR service: the modem's RF exposure state (DSI).
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/qmi_idl.h"

constexpr std::uint32_t sar_service_id_v01 = 0x11;

constexpr std::uint16_t sar_rf_set_state_v01 = 0x0001;  ///< the tool does not send it
constexpr std::uint16_t sar_rf_get_state_v01 = 0x0002;

struct sar_rf_get_state_resp_v01 {
  qmi_response_type_v01 resp;
  std::uint8_t sar_rf_state_valid;
  std::int32_t sar_rf_state;  ///< 0 to 20
  std::uint8_t unused[24];
};
static_assert(sizeof(sar_rf_get_state_resp_v01) == 40);
static_assert(offsetof(sar_rf_get_state_resp_v01, sar_rf_state) == 12);

/// Null when a number differs from those the tables were made for.
qmi_idl_service_object_type sar_get_service_object_internal_v01(std::int32_t idl_major,
                                                                std::int32_t idl_minor,
                                                                std::int32_t library_version);
