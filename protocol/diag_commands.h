// Codes of DIAG commands, their operations and error answers. The codes of unsolicited packets are
// in protocol/log_packet.h.
#pragma once

#include <cstdint>

#include "protocol/log_packet.h"

namespace protocol::diag {

constexpr std::uint8_t nv_read = 0x26;
constexpr std::uint8_t nv_write = 0x27;
constexpr std::uint8_t subsystem_dispatch = 0x4B;  // code | subsystem u8 | command u16
constexpr std::uint8_t event_control = event_code;
constexpr std::uint8_t log_config = 0x73;      // code | 3 zeros | operation u32
constexpr std::uint8_t message_config = 0x7D;  // code | operation u8
/// Like 4B, but answered in one or more packets.
constexpr std::uint8_t delayed_subsystem_dispatch = 0x80;
constexpr std::uint8_t event_mask_get = 0x81;
constexpr std::uint8_t event_mask_set = 0x82;

/// Operations of log_config.
enum class log_operation : std::uint32_t {
  disable = 0,
  ranges = 1,
  valid_mask = 2,
  set_mask = 3,
  get_mask = 4,
};

/// An error answer is one of these codes, followed by the request.
enum class error_code : std::uint8_t {
  bad_command = 0x13,
  bad_parameter = 0x14,
  bad_length = 0x15,
  bad_mode = 0x18,
  bad_spc_mode = 0x42,
  bad_security_mode = 0x47,
  bad_transaction = 0x95,
  not_allowed = 0x96,
};

}  // namespace protocol::diag
