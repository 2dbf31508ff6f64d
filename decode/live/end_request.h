// SIGINT, SIGTERM and SIGHUP as a request that a session end in order, and SIGPIPE as an error of
// the write that brought it.
#pragma once

namespace decode {

/// From here on, until the process ends. SIGHUP stays ignored where it was, as under nohup. A write
/// that still waits for room some time after the request is given up.
void listen_for_end_request();

/// From the request on every system call that waits is interrupted again and again (EINTR): one
/// that asks between its waits misses nothing.
[[nodiscard]] bool end_was_requested();

}  // namespace decode
