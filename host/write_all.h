// Writing all of something, over as many calls as it takes.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>

namespace host {

/// Writes the whole text to a file, waiting for room if the file was opened non-blocking. False,
/// with errno set, when the rest could not be written: an error, or EINTR or EAGAIN when a signal
/// interrupted the write and `gives_up`, which is asked then, returns true. Null never gives up.
[[nodiscard]] bool write_all(int file, std::string_view text, bool (*gives_up)() = nullptr);

/// As ::write, but without the signal that a socket raises when its far end has closed.
[[nodiscard]] ssize_t send_some(int stream, std::span<const std::uint8_t> bytes);

/// Writes all bytes to a non-blocking stream, waiting for room. False when the stream is closed or
/// has had no room for `patience`; a part may have been written by then.
[[nodiscard]] bool send_all(int stream, std::span<const std::uint8_t> bytes,
                            std::chrono::nanoseconds patience);

}  // namespace host
