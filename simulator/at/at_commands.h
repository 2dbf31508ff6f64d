// The AT commands that the modem's terminal knows.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "simulator/modem/modem.h"

namespace sim {

class at_commands {
 public:
  explicit at_commands(modem& state) : state_(state) {}

  /// The answer to one line, without its line end: result code and what comes before it. Nothing
  /// for an empty line.
  [[nodiscard]] std::string answer(std::string_view line);

  /// Whether the terminal echoes what it receives.
  [[nodiscard]] bool echo() const { return settings_.echo; }

 private:
  friend struct at_rows;

  /// What a command has come to: an error's number, or a text, which is empty for a plain OK.
  struct outcome {
    std::string text;
    std::optional<unsigned> error = std::nullopt;
  };

  [[nodiscard]] outcome run(std::string_view& rest);
  [[nodiscard]] std::string final_error(unsigned number) const;

  /// What ATZ puts back.
  struct line_settings {
    bool echo = true;
    unsigned errors = 1;                          ///< +CMEE: 0 plain, 1 numbers, 2 texts
    std::array<unsigned, 4> reports{0, 0, 0, 0};  ///< +CREG, +CGREG, +CEREG, +C5GREG
  };

  modem& state_;
  line_settings settings_;
};

}  // namespace sim
