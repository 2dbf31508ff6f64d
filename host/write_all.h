// Writing all of something, over as many calls as it takes.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>

namespace host {

/// Writes the whole text to a file; waits for room if the file is non-blocking. False, with errno
/// set, on an error, or (EINTR or EAGAIN) when a signal interrupted it and `gives_up` returned
/// true. Without `gives_up` it continues after signals.
[[nodiscard]] bool write_all(int file, std::string_view text, bool (*gives_up)() = nullptr);

/// Like ::write, but without SIGPIPE when the peer of a socket has closed it.
[[nodiscard]] ssize_t send_some(int stream, std::span<const std::uint8_t> bytes);

/// Writes all bytes to a non-blocking stream, waiting for room. False when the stream is closed or
/// has no room for `patience`; part of the bytes may have been written.
[[nodiscard]] bool send_all(int stream, std::span<const std::uint8_t> bytes,
                            std::chrono::nanoseconds patience);

}  // namespace host
