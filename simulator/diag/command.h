// A DIAG command that the modem answers is a row.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "protocol/bytes.h"
#include "protocol/diag_commands.h"
#include "simulator/diag/byte_string.h"
#include "simulator/diag/efs_handles.h"
#include "simulator/diag/masks.h"
#include "simulator/modem/modem.h"

namespace sim::diag {

namespace wire = protocol::diag;

/// What the modem knows of one client.
struct session {
  diag::masks masks;
  efs_handles files;
};

using packet = std::vector<std::uint8_t>;

struct request {
  byte_view bytes;  ///< the whole packet, as long as its row allows
  session& from;
  modem& state;

  template <std::unsigned_integral T>
  [[nodiscard]] T at(std::size_t offset) const {
    return protocol::load_le<T>(bytes.subspan(offset));
  }
};

/// An answer that refuses is this code and the whole request.
enum class refusal : std::uint8_t {
  bad_command = static_cast<std::uint8_t>(wire::error_code::bad_command),
  bad_parameter = static_cast<std::uint8_t>(wire::error_code::bad_parameter),
  bad_length = static_cast<std::uint8_t>(wire::error_code::bad_length),
};

/// Thrown by a handler that does not act on a request.
struct refused {
  refusal code;
};

/// What a request comes to. A handler's answer is without the bytes that its row repeats.
struct reply {
  reply(packet given) : answer(std::move(given)) {}
  reply(const byte_string& given) : answer(given) {}

  packet answer;
  bool restart = false;  ///< the modem restarts once the answer is on its way
};

using handler = reply (*)(const request& asked);

/// Which command a packet is: its code alone, or its code and what subdivides it.
struct command_id {
  std::uint8_t code = 0;
  std::uint8_t subsystem = 0;                ///< of code 4B
  std::optional<std::uint32_t> number = {};  ///< of 4B, 73 and 7D

  friend bool operator==(const command_id&, const command_id&) = default;
};

constexpr command_id plain(std::uint8_t code) {
  return {.code = code};
}
constexpr command_id subsystem(std::uint8_t number, std::uint16_t command) {
  return {.code = wire::subsystem_dispatch, .subsystem = number, .number = command};
}
/// Every command of a subsystem.
constexpr command_id whole_subsystem(std::uint8_t number) {
  return {.code = wire::subsystem_dispatch, .subsystem = number};
}
constexpr command_id log_config(wire::log_operation operation) {
  return {.code = wire::log_config, .number = static_cast<std::uint32_t>(operation)};
}
constexpr command_id message_config(std::uint8_t operation) {
  return {.code = wire::message_config, .number = operation};
}

constexpr std::size_t any_size = 16384;  ///< the longest packet
constexpr std::uint16_t esn_item = 0;    ///< the NV item

struct command_row {
  command_id id;
  const char* name;
  std::size_t least;  ///< bytes of the request
  std::size_t most;
  std::size_t repeated;  ///< bytes of the request that the answer begins with
  handler answer;
};

[[nodiscard]] std::span<const command_row> identity_commands();
[[nodiscard]] std::span<const command_row> state_commands();
[[nodiscard]] std::span<const command_row> mask_commands();
[[nodiscard]] std::span<const command_row> nv_commands();
[[nodiscard]] std::span<const command_row> efs_commands();

/// What the trace calls a request.
[[nodiscard]] const char* name_of(byte_view bytes);

/// The reply to a request, whatever it is; a refusal is in its answer.
[[nodiscard]] reply answer(byte_view bytes, session& from, modem& state);

/// code | the whole request
[[nodiscard]] packet refuse(std::uint8_t code, byte_view bytes);

}  // namespace sim::diag
