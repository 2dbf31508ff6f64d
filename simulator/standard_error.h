// Messages for the user. One that cannot be written changes nothing.
#pragma once

#include <string_view>

namespace sim {

/// One line on standard error, after the program's name; without a line end.
void tell_user(std::string_view message) noexcept;

}  // namespace sim
