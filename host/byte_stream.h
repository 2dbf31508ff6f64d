// Opens byte streams by name: unix:PATH, tcp:HOST:PORT (a numeric address or localhost), tty:PATH.
#pragma once

#include <string>

#include "host/file_descriptor.h"

namespace host {

/// The stream is non-blocking. The error is a message for the user.
[[nodiscard]] opened_file open_byte_stream(const std::string& endpoint);

/// The accepted forms of names, for messages.
inline constexpr const char* byte_stream_forms = "unix:PATH, tcp:HOST:PORT or tty:PATH";

}  // namespace host
