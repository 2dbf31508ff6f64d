// Byte streams that users name: unix:PATH, tcp:HOST:PORT (a numeric address or localhost),
// tty:PATH.
#pragma once

#include <string>

#include "host/file_descriptor.h"

namespace host {

/// Reading from the stream and writing to it do not block. The error is in words for a person.
[[nodiscard]] opened_file open_byte_stream(const std::string& endpoint);

/// The forms of such names, for messages.
inline constexpr const char* byte_stream_forms = "unix:PATH, tcp:HOST:PORT or tty:PATH";

}  // namespace host
