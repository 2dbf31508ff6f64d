// The AT commands that the modem's terminal knows.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "simulator/modem/modem.h"

namespace sim {

/// Settings that are numbers: how much a registration command reports, and how errors look, 0
/// plain, 1 numbers, 2 texts.
enum at_number : std::uint8_t { creg, cgreg, cereg, c5greg, cmee };

/// What the commands of one terminal read and change.
struct at_terminal {
  /// What ATZ puts back.
  struct settings {
    bool echo = true;
    std::array<unsigned, 5> numbers{0, 0, 0, 0, 1};  ///< by at_number
  };

  modem& state;
  settings kept = {};
};

class at_commands {
 public:
  explicit at_commands(modem& state) : terminal_{state} {}

  /// The answer to one line, without its line end: result code and what comes before it. Nothing
  /// for an empty line.
  [[nodiscard]] std::string answer(std::string_view line);

  /// Whether the terminal echoes what it receives.
  [[nodiscard]] bool echo() const { return terminal_.kept.echo; }

 private:
  at_terminal terminal_;
};

}  // namespace sim
