// The vendor's extension service. All its messages share one layout:
//   TLV 0x01 u32 type (request) or result (response); TLV 0x02 u32 data_len;
//   TLV 0x10, optional, a fixed array of 512 bytes, of which data_len are used.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/qmi_idl.h"

constexpr std::uint32_t norvel_extend_qmi_service_id_v01 = 0xFFE4;
constexpr std::uint32_t norvel_extend_qmi_max_data_v01 = 512;

/// The message used for every exchange.
constexpr std::uint16_t norvel_extend_qmi_request_v01 = 0x0002;
/// Laid out as the other; the tool does not send it.
constexpr std::uint16_t norvel_extend_qmi_message_3_v01 = 0x0003;

struct norvel_extend_qmi_msg_v01 {
  std::uint32_t type;  ///< request: the vendor function; response: 0 for success
  std::uint32_t data_len;
  std::uint8_t data_valid;
  std::uint8_t data[norvel_extend_qmi_max_data_v01];
};
static_assert(sizeof(norvel_extend_qmi_msg_v01) == 524);
static_assert(offsetof(norvel_extend_qmi_msg_v01, data_valid) == 8);
static_assert(offsetof(norvel_extend_qmi_msg_v01, data) == 9);

/// Null when a number differs from those the tables were made for.
qmi_idl_service_object_type norvel_extend_qmi_get_service_object_internal_v01(
    std::int32_t idl_major, std::int32_t idl_minor, std::int32_t library_version);
