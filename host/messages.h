// What programs tell their users on standard error.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// Writes "PROGRAM: TEXT" as one line. Where standard error takes nothing, nobody could be told.
void tell(std::string_view program, std::string_view text) noexcept;

/// The same, but a text that was already told so in this process is not told again.
void tell_once(std::string_view program, const std::string& text);

}  // namespace host
