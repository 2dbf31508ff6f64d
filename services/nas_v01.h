// The standard NAS service. The tool connects to it but sends nothing on it, so the object
// describes no message.
#pragma once

#include <cstdint>

#include "platform/qmi_idl.h"

constexpr std::uint32_t nas_service_id_v01 = 0x03;

// The tool sends none of these.
constexpr std::uint16_t nas_get_signal_strength_v01 = 0x0020;
constexpr std::uint16_t nas_get_rf_band_info_v01 = 0x0031;
constexpr std::uint16_t nas_get_signal_info_v01 = 0x004F;

/// Null when a number differs from those the tables were made for.
qmi_idl_service_object_type nas_get_service_object_internal_v01(std::int32_t idl_major,
                                                                std::int32_t idl_minor,
                                                                std::int32_t library_version);
