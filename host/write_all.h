// Writing all of something, over as many calls as it takes.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>

namespace host {

/// Writes a text to a file, waiting for room where the file is set to take only what it has room
/// for. False, with errno set, when the rest could not be written: an error, or EINTR or EAGAIN
/// when a signal interrupted it and `gives_up`, asked then, says so. Null: never.
[[nodiscard]] bool write_all(int file, std::string_view text, bool (*gives_up)() = nullptr);

/// As ::write, but without the signal that a socket brings whose far end has closed.
[[nodiscard]] ssize_t send_some(int stream, std::span<const std::uint8_t> bytes);

/// Writes bytes to a stream that does not block, waiting for room. False when the stream is gone or
/// has no room for `patience`: a part may have been written then.
[[nodiscard]] bool send_all(int stream, std::span<const std::uint8_t> bytes,
                            std::chrono::nanoseconds patience);

}  // namespace host
