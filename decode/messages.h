// Messages of tvk-decode to the user, on standard error.
#pragma once

#include <string>
#include <string_view>

namespace decode {

/// Writes the text as a line that starts with the program's name. Failures are ignored: there is
/// nowhere left to report them.
void report(std::string_view text);
/// The same, but each text only once.
void report_once(const std::string& text);

/// Writes the text without adding name and newline.
void report_verbatim(std::string_view text);

}  // namespace decode
