// Messages of programs to their users, on standard error.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// Writes "PROGRAM: TEXT" as one line. Failures are ignored: there is nowhere left to report them.
void report(std::string_view program, std::string_view text) noexcept;

/// The same, but each text only once per process.
void report_once(std::string_view program, const std::string& text);

}  // namespace host
