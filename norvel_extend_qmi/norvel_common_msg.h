// The common message: payload of an extension request of type 4.
#pragma once

#include <cstddef>
#include <cstdint>

#include "norvel_extend_qmi/norvel_extend_cmn.h"

constexpr unsigned int norvel_common_msg_request_type = 4;
constexpr std::uint32_t norvel_common_msg_kind = 2;

struct norvel_common_msg {
  std::uint32_t kind;
  std::uint32_t reserved;
  std::uint32_t t;  ///< number of the common message
  std::uint32_t l;  ///< bytes of payload
  std::uint8_t v[norvel_common_msg_max_data];
};
static_assert(sizeof(norvel_common_msg) == norvel_extend_qmi_max_data);
static_assert(offsetof(norvel_common_msg, t) == 8);
static_assert(offsetof(norvel_common_msg, v) == 16);
