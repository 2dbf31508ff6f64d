// The part of the command line that is about a state directory: `nv` and `efs`.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "simulator/program/command_line.h"

namespace sim {

class state_command_line {
 public:
  /// Adds both commands to the program's command line.
  explicit state_command_line(CLI::App& app);
  state_command_line(const state_command_line&) = delete;
  state_command_line& operator=(const state_command_line&) = delete;

  /// What was asked for, once the command line is parsed; nothing when it was neither command.
  /// Throws `usage_error`.
  [[nodiscard]] std::optional<command> parsed() const;

 private:
  CLI::App* add(CLI::App& family, const char* verb, const char* help);
  void add_path(CLI::App& verb);
  [[nodiscard]] std::uint8_t subscription() const;
  [[nodiscard]] nv_command nv(nv_command::verb what) const;
  [[nodiscard]] efs_command efs(efs_command::verb what) const;

  std::string state_;
  std::string subscription_ = "0";
  std::string id_;
  std::vector<std::string> bytes_;
  std::string path_;
  std::string file_ = "-";

  CLI::App* nv_list_;
  CLI::App* nv_get_;
  CLI::App* nv_set_;
  CLI::App* efs_list_;
  CLI::App* efs_cat_;
  CLI::App* efs_put_;
  CLI::App* efs_remove_;
};

}  // namespace sim
