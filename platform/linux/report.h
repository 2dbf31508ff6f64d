// Messages from the platform libraries to the user about the host.
#pragma once

#include <string>

#include "host/messages.h"

namespace platform {

/// Writes one line on standard error. A text is written only once per process.
inline void report_once(const std::string& text) {
  host::report_once("tvk", text);
}

}  // namespace platform
