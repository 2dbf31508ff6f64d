#include "decode/output/file_output.h"

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "decode/output/record_output.h"

namespace decode {

namespace {

bool (*give_up_now)() = [] { return false; };

/// False when it cannot be mended by another try. The caller of the program may have opened the
/// file so that writing does not wait.
bool is_passing(int error, int file) {
  if (error == EINTR) return !give_up_now();
  if (error != EAGAIN) return false;
  pollfd room{.fd = file, .events = POLLOUT, .revents = 0};
  return ::poll(&room, 1, -1) > 0 || !give_up_now();
}

}  // namespace

void give_up_interrupted_writes(bool (*now)()) {
  give_up_now = now;
}

void write_whole(int file, std::string_view name, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(file, text.data(), text.size());
    if (count < 0) {
      const int error = errno;
      if (is_passing(error, file)) continue;
      if (error == EINTR || error == EAGAIN) {
        throw output_error(fmt::format("{}: the reader stalls; the rest is lost", name));
      }
      throw output_error(fmt::format("{}: {}", name, std::generic_category().message(error)));
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace decode
