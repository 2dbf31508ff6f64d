// Messages from the platform libraries to the user about the host, on standard error.
#pragma once

#include <string>

#include "host/messages.h"

namespace platform {

/// Writes "tvk: " and the text as one line. A text is written only once per process.
inline void report_once(const std::string& text) {
  host::report_once("tvk", text);
}

}  // namespace platform
