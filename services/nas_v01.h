// The standard NAS service. No messages are described, because the program sends none.
#pragma once

#include <cstdint>

#include "platform/qmi_idl.h"

constexpr std::uint32_t nas_service_id_v01 = 0x03;

/// Null when a number differs from those the tables were made for.
qmi_idl_service_object_type nas_get_service_object_internal_v01(std::int32_t idl_major,
                                                                std::int32_t idl_minor,
                                                                std::int32_t library_version);
