#include "simulator/ports/terminals.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>

#include "host/directories.h"
#include "simulator/failure.h"

namespace sim {
namespace {

std::string target_of(const std::string& path) {
  std::error_code no_link;
  return std::filesystem::read_symlink(path, no_link).string();
}

/// Describes for a message what is at the path instead of a terminal.
std::string kind_of(const std::string& path) {
  std::error_code unknown;
  switch (std::filesystem::symlink_status(path, unknown).type()) {
    case std::filesystem::file_type::regular:
      return "a plain file";
    case std::filesystem::file_type::directory:
      return "a directory";
    case std::filesystem::file_type::symlink:
      return "a link to " + target_of(path);
    case std::filesystem::file_type::character:
      return "a device";
    default:
      return "something else";
  }
}

bool is_there(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

const std::string& with_directory(const std::string& path) {
  if (!host::make_directories(host::parent_of(path))) fail_to("make the directory of", path);
  return path;
}

host::file_descriptor open_terminal(const std::string& name) {
  host::file_descriptor terminal(::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (!terminal.valid()) fail_to("open", name);
  return terminal;
}

/// Readable when somebody has closed the terminal.
host::file_descriptor watch_closings(const std::string& terminal) {
  host::file_descriptor watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  if (!watch.valid() || ::inotify_add_watch(watch.get(), terminal.c_str(), IN_CLOSE) < 0) {
    fail_to("watch", terminal);
  }
  return watch;
}

}  // namespace

host::file_descriptor open_pseudo_terminal() {
  host::file_descriptor ours(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  termios mode{};
  if (!ours.valid() || ::grantpt(ours.get()) != 0 || ::unlockpt(ours.get()) != 0 ||
      ::tcgetattr(ours.get(), &mode) != 0) {
    fail_to("make", "a pseudo-terminal");
  }
  // Either side of a pseudo-terminal sets the mode of the clients' side.
  ::cfmakeraw(&mode);
  if (::tcsetattr(ours.get(), TCSANOW, &mode) != 0) fail_to("set up", "a pseudo-terminal");
  return ours;
}

std::string terminal_of(int ours) {
  std::array<char, 64> name{};
  if (::ptsname_r(ours, name.data(), name.size()) != 0) fail_to("name", "a pseudo-terminal");
  return name.data();
}

terminal_link::terminal_link(const std::string& path, std::string terminal)
    : path_(with_directory(path)),
      terminal_(std::move(terminal)),
      lock_was_there_(is_there(path + ".lock")),
      lock_(path) {
  if (is_there(path_)) {
    if (!lock_was_there_ || !target_of(path_).starts_with("/dev/pts/")) {
      throw failure(fmt::format("{} exists, {}, and is not the terminal of a modem that was killed",
                                path_, kind_of(path_)));
    }
    if (::unlink(path_.c_str()) != 0) fail_to("remove the stale link", path_);
  }
  if (::symlink(terminal_.c_str(), path_.c_str()) != 0) fail_to("make the link", path_);
}

void terminal_link::lead_to(const std::string& terminal) {
  const std::string next = path_ + ".next";
  ::unlink(next.c_str());  // of a modem that was killed
  if (::symlink(terminal.c_str(), next.c_str()) != 0) fail_to("make the link", next);
  if (::rename(next.c_str(), path_.c_str()) != 0) fail_to("replace the link", path_);
  terminal_ = terminal;
}

terminal_link::~terminal_link() {
  // The path may have been removed by hand and taken by another program since.
  if (target_of(path_) == terminal_) ::unlink(path_.c_str());
}

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
