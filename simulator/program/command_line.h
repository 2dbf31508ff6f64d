// What the user asks tvk-modem to do.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "simulator/simulated_modem.h"

namespace sim {

struct serve_command {
  modem_options modem;
  bool holds_time = false;
};

struct exec_command {
  modem_options modem;  ///< an empty socket path, DIAG's too, means a private one
  std::vector<std::string> command;
};

/// What the `nv` and `efs` commands do with a state directory.
struct nv_command {
  enum class verb : std::uint8_t { list, get, set };
  verb what = verb::list;
  std::string state;
  std::uint8_t subscription = 0;
  std::uint16_t id = 0;
  std::vector<std::uint8_t> data;
};

struct efs_command {
  enum class verb : std::uint8_t { list, cat, put, remove };
  verb what = verb::list;
  std::string state;
  std::uint8_t subscription = 0;
  std::string path;
  std::string file;  ///< "-": standard input
};

/// Help or the version, already printed.
struct nothing_to_do {};

using command = std::variant<serve_command, exec_command, nv_command, efs_command, nothing_to_do>;

/// Throws `usage_error`.
[[nodiscard]] command parse_command_line(int argc, const char* const* argv);

}  // namespace sim
