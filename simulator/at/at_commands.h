// The AT commands that the modem's terminal knows.
#pragma once

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
  [[nodiscard]] bool echo() const { return echo_; }

 private:
  friend struct at_rows;

  modem& state_;
  bool echo_ = true;
  int functionality_ = 1;  ///< +CFUN: 0 minimum, 1 full, 4 no radio
};

}  // namespace sim
