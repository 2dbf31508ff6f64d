// Turns SIGINT, SIGTERM and SIGHUP into a request to end the session cleanly. SIGPIPE is ignored,
// so that the write which caused it returns an error.
#pragma once

namespace decode {

/// Installs the signal handlers for the rest of the process. If SIGHUP is ignored, as under nohup,
/// it stays so. A write that is still blocked some time after the request is abandoned.
void listen_for_end_request();

/// After the request, every blocking system call is interrupted repeatedly (EINTR), so it is enough
/// to check this between system calls.
[[nodiscard]] bool end_was_requested();

}  // namespace decode
