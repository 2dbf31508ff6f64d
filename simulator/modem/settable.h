// What --set KEY=VALUE changes in the modem when it starts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "simulator/modem/modem.h"

namespace sim {

struct settable_row {
  const char* key;
  std::int64_t least;
  std::int64_t most;
  void (*set)(modem& state, std::int64_t value);
};

struct chosen_setting {
  const settable_row* row = nullptr;
  std::int64_t value = 0;
};

/// Throws `usage_error`, which names the text and the valid settings.
[[nodiscard]] chosen_setting parse_setting(std::string_view text);

}  // namespace sim
