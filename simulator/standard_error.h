// What the program says to people. A message that nobody can get changes nothing.
#pragma once

#include <string_view>

namespace sim {

/// One line on standard error, after the program's name; without a line end.
void tell_user(std::string_view message) noexcept;

}  // namespace sim
