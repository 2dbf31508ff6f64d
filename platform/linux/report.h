// Messages from the platform libraries to the user about the host, on standard error.
#pragma once

#include <string>

namespace platform {

/// Writes "tvk: " and the text as one line. A text is written only once per process.
void report_once(const std::string& text);

}  // namespace platform
