// What every service object repeats: its type table and its accessor's check.
#pragma once

#include "platform/qmi_idl.h"

namespace services {

/// The object when the numbers are those it was made for, else null.
inline qmi_idl_service_object_type if_version(const qmi_idl_service_object& object,
                                              std::int32_t idl_major, std::int32_t idl_minor,
                                              std::int32_t library_version) {
  const bool is_same = object.idl_version == static_cast<std::uint32_t>(idl_major) &&
                       object.idl_minor_version == static_cast<std::uint32_t>(idl_minor) &&
                       object.library_version == static_cast<std::uint32_t>(library_version);
  return is_same ? &object : nullptr;
}

}  // namespace services
