// What the platform libraries tell the user about the host: lines on standard error.
#pragma once

#include <string>

namespace platform {

/// Writes "tvk: " and the text as one line; a text that was already said in this process is not
/// said again.
void report_once(const std::string& text);

}  // namespace platform
