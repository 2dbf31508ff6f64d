#include "host/write_all.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "host/uninterrupted.h"
#include "host/wait.h"

namespace host {
namespace {

using clock = std::chrono::steady_clock;

/// Positive when there is room or an error, 0 when time ran out.
int wait_for_room(int file, clock::time_point until) {
  pollfd room{.fd = file, .events = POLLOUT, .revents = 0};
  return ::poll(&room, 1, poll_timeout(until));
}

/// Whether to retry a write that failed. Preserves errno.
bool may_try_again(int file, bool (*gives_up)()) {
  const int error = errno;
  if (error == EAGAIN && wait_for_room(file, clock::time_point::max()) > 0) return true;
  const bool is_transient = error == EAGAIN || error == EINTR;
  const bool retries = is_transient && (gives_up == nullptr || !gives_up());
  errno = error;
  return retries;
}

}  // namespace

bool write_all(int file, std::string_view text, bool (*gives_up)()) {
  while (!text.empty()) {
    const ssize_t put = ::write(file, text.data(), text.size());
    if (put >= 0) {
      text.remove_prefix(static_cast<std::size_t>(put));
    } else if (!may_try_again(file, gives_up)) {
      return false;
    }
  }
  return true;
}

ssize_t send_some(int stream, std::span<const std::uint8_t> bytes) {
  return uninterrupted([&] {
    const ssize_t sent = ::send(stream, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    return sent < 0 && errno == ENOTSOCK ? ::write(stream, bytes.data(), bytes.size()) : sent;
  });
}

bool send_all(int stream, std::span<const std::uint8_t> bytes, std::chrono::nanoseconds patience) {
  auto until = clock::now() + patience;
  while (!bytes.empty()) {
    const ssize_t sent = send_some(stream, bytes);
    if (sent >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(sent));
      until = clock::now() + patience;
      continue;
    }
    if (errno != EAGAIN) return false;
    // Signals may interrupt the wait but must not prolong it.
    if (clock::now() >= until || wait_for_room(stream, until) == 0) return false;
  }
  return true;
}

}  // namespace host
