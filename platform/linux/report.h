// What the platform libraries tell the user about the host.
#pragma once

#include <string>

#include "host/messages.h"

namespace platform {

/// One line on standard error; a text that was already said in this process is not said again.
inline void report_once(const std::string& text) {
  host::tell_once("tvk", text);
}

}  // namespace platform
