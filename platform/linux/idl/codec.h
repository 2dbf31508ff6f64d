// Encodes and decodes QMI messages: translates between a C structure and TLV bytes as the byte
// strings of a service object (platform/qmi_idl.h) direct.
//
// Supported: mandatory and optional TLVs; integers of 1, 2, 4 and 8 bytes; enumerations of 1 and 2
// bytes (4 in C, signed); fixed and variable arrays with counts of 1 or 2 bytes; nested aggregates.
// A table that uses anything else is refused with QMI_IDL_UNRECOGNIZED_VERSION.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/qmi_client.h"

namespace idl {

/// Writes TLV bytes to `out` and their number to `written`. Returns 0 or an IDL code.
[[nodiscard]] std::int32_t encode(qmi_idl_service_object_type service, qmi_idl_type_of_message kind,
                                  std::uint16_t message_id, std::span<const std::uint8_t> c_struct,
                                  std::span<std::uint8_t> out, std::size_t& written);

/// Zeroes the C structure, then fills it from TLV bytes, which need not be well-formed. Returns 0
/// or an IDL code; after a failure the structure holds what was decoded up to that point.
[[nodiscard]] std::int32_t decode(qmi_idl_service_object_type service, qmi_idl_type_of_message kind,
                                  std::uint16_t message_id, std::span<const std::uint8_t> tlvs,
                                  std::span<std::uint8_t> c_struct);

/// The service's entry for this message, or null.
[[nodiscard]] const qmi_idl_service_message_table_entry* find_message(
    qmi_idl_service_object_type service, qmi_idl_type_of_message kind, std::uint16_t message_id);

}  // namespace idl
