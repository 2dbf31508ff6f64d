#include "simulator/diag/command.h"

#include "simulator/standard_error.h"

namespace sim::diag {
namespace {

/// Nothing when the packet is too short to tell.
std::optional<command_id> identify(byte_view bytes) {
  if (bytes.empty()) return std::nullopt;
  protocol::byte_reader in(bytes);
  command_id id{.code = *in.take<std::uint8_t>()};
  switch (id.code) {
    case wire::subsystem_dispatch: {
      const auto subsystem = in.take<std::uint8_t>();
      const auto number = in.take<std::uint16_t>();
      if (!number) return std::nullopt;
      id.subsystem = *subsystem;
      id.number = *number;
      return id;
    }
    case wire::log_config:
      (void)in.take_bytes(3);
      id.number = in.take<std::uint32_t>();
      return id.number && bytes.size() >= 8 ? std::optional(id) : std::nullopt;
    case wire::message_config: {
      const auto operation = in.take<std::uint8_t>();
      if (!operation) return std::nullopt;
      id.number = *operation;
      return id;
    }
    default:
      return id;
  }
}

const command_row* find(const command_id& id) {
  const command_id whole{.code = id.code, .subsystem = id.subsystem};
  for (const auto table :
       {identity_commands(), state_commands(), mask_commands(), nv_commands(), efs_commands()}) {
    for (const command_row& row : table) {
      if (row.id == id || row.id == whole) return &row;
    }
  }
  return nullptr;
}

/// The row that allows a request of this length.
const command_row& row_for(byte_view bytes) {
  const auto id = identify(bytes);
  if (!id) throw refused{refusal::bad_length};
  const command_row* const row = find(*id);
  if (row == nullptr) {
    // An unknown operation of a known command is a different error than an unknown command.
    const bool is_operation = id->code == wire::log_config || id->code == wire::message_config;
    throw refused{is_operation ? refusal::bad_parameter : refusal::bad_command};
  }
  if (bytes.size() < row->least || bytes.size() > row->most) throw refused{refusal::bad_length};
  return *row;
}

}  // namespace

const char* name_of(byte_view bytes) {
  const auto id = identify(bytes);
  const command_row* const row = id ? find(*id) : nullptr;
  return row == nullptr ? "?" : row->name;
}

packet refuse(std::uint8_t code, byte_view bytes) {
  packet answer(1 + bytes.size());
  answer[0] = code;
  std::ranges::copy(bytes, answer.begin() + 1);
  return answer;
}

reply answer(byte_view bytes, session& from, modem& state) {
  auto code = refusal::bad_parameter;
  try {
    const command_row& row = row_for(bytes);
    reply made = row.answer({bytes, from, state});
    const byte_view repeated = bytes.first(row.repeated);
    made.answer.insert(made.answer.begin(), repeated.begin(), repeated.end());
    return made;
  } catch (const refused& early) {
    code = early.code;
  } catch (const failure& state_failed) {
    tell_user(state_failed.what());
  }
  return refuse(static_cast<std::uint8_t>(code), bytes);
}

}  // namespace sim::diag
