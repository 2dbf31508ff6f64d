// What the user asks tvk-modem to do.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "simulator/simulated_modem.h"

namespace sim {

struct serve_command {
  modem_options modem;
};

struct exec_command {
  modem_options modem;  ///< with an empty socket: a private one
  std::vector<std::string> command;
};

/// Help or the version, already printed.
struct nothing_to_do {};

/// Throws `usage_error`.
[[nodiscard]] std::variant<serve_command, exec_command, nothing_to_do> parse_command_line(
    int argc, const char* const* argv);

}  // namespace sim
