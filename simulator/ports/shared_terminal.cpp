#include "simulator/ports/shared_terminal.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "simulator/failure.h"

namespace sim {
namespace {

[[noreturn]] void fail(const char* what, const std::string& terminal) {
  throw failure(fmt::format("cannot {} {}: {}", what, terminal, std::strerror(errno)));
}

host::file_descriptor open_terminal(const std::string& name) {
  host::file_descriptor terminal(::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (!terminal.valid()) fail("open", name);
  return terminal;
}

/// Readable when somebody has closed the terminal.
host::file_descriptor watch_closings(const std::string& terminal) {
  host::file_descriptor watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  if (!watch.valid() || ::inotify_add_watch(watch.get(), terminal.c_str(), IN_CLOSE) < 0) {
    fail("watch", terminal);
  }
  return watch;
}

}  // namespace

shared_terminal::shared_terminal(asio::io_context& io, const std::string& path,
                                 std::function<void()> left)
    : ours_(open_pseudo_terminal()),
      theirs_(open_terminal(terminal_of(ours_.get()))),
      closings_(io, watch_closings(terminal_of(ours_.get())).release()),
      link_(path, terminal_of(ours_.get())),
      left_(std::move(left)) {
  watch();
}

void shared_terminal::watch() {
  closings_.async_wait(asio::posix::stream_descriptor::wait_read,
                       [this](const std::error_code& error) {
                         if (error) return;
                         note_closings();
                         watch();
                       });
}

void shared_terminal::note_closings() {
  std::array<char, 1024> events{};
  bool is_closed = false;
  while (::read(closings_.native_handle(), events.data(), events.size()) > 0) is_closed = true;
  if (!is_closed) return;
  // A client may open the terminal exclusively, but that must end when the client leaves.
  ::ioctl(theirs_.get(), TIOCNXCL);
  left_();
}

void shared_terminal::discard_unread() const {
  ::tcflush(theirs_.get(), TCIFLUSH);
}

}  // namespace sim
