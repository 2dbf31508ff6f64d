// What the program says. Standard output is what was asked for: that it could not be written is a
// failure. Standard error is for people: a message that nobody can get changes nothing.
#pragma once

#include <string_view>

namespace sim {

/// Throws `failure`, at the latest from `finish_output`.
void write_output(std::string_view text);
/// To be called when all is written.
void finish_output();

/// One line on standard error, after the program's name; without a line end.
void tell_user(std::string_view message) noexcept;

}  // namespace sim
