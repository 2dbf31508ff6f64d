// Opens streams by name: unix:PATH, tcp:HOST:PORT (a numeric address or localhost), tty:PATH, and a
// packet socket, which keeps the boundaries of what is written: unix-packet:PATH or, in the
// abstract namespace, unix-packet:@NAME.
#pragma once

#include <string>

#include "host/file_descriptor.h"

namespace host {

/// A stream, or the reason why it could not be opened.
struct opened_stream {
  file_descriptor file;
  std::string error;
  int code = 0;  ///< the error's number, if the system gave one
  bool keeps_packets = false;
};

/// The stream is non-blocking. The error is a message for the user.
[[nodiscard]] opened_stream open_byte_stream(const std::string& endpoint);

/// The same for ports that are known by other names.
[[nodiscard]] opened_stream connect_to_socket(const std::string& path);
[[nodiscard]] opened_stream connect_to_abstract_socket(const std::string& name);
/// A character device. A terminal is set to raw mode, so that all bytes pass unchanged; the speed
/// is left as it was set.
[[nodiscard]] opened_stream open_device(const std::string& path);

/// The accepted forms of names, for messages.
inline constexpr const char* byte_stream_forms =
    "unix:PATH, unix-packet:PATH, unix-packet:@NAME, tcp:HOST:PORT or tty:PATH";

}  // namespace host
