#include "simulator/ports/terminal_link.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "host/directories.h"
#include "simulator/failure.h"

namespace sim {
namespace {

[[noreturn]] void fail(const char* what, const std::string& about) {
  throw failure(fmt::format("cannot {} {}: {}", what, about, std::strerror(errno)));
}

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
  if (!host::make_directories(host::parent_of(path))) fail("make the directory of", path);
  return path;
}

}  // namespace

host::file_descriptor open_pseudo_terminal() {
  host::file_descriptor ours(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  termios mode{};
  if (!ours.valid() || ::grantpt(ours.get()) != 0 || ::unlockpt(ours.get()) != 0 ||
      ::tcgetattr(ours.get(), &mode) != 0) {
    fail("make", "a pseudo-terminal");
  }
  // Either side of a pseudo-terminal sets the mode of the clients' side.
  ::cfmakeraw(&mode);
  if (::tcsetattr(ours.get(), TCSANOW, &mode) != 0) fail("set up", "a pseudo-terminal");
  return ours;
}

std::string terminal_of(int ours) {
  std::array<char, 64> name{};
  if (::ptsname_r(ours, name.data(), name.size()) != 0) fail("name", "a pseudo-terminal");
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
    if (::unlink(path_.c_str()) != 0) fail("remove the stale link", path_);
  }
  if (::symlink(terminal_.c_str(), path_.c_str()) != 0) fail("make the link", path_);
}

void terminal_link::lead_to(const std::string& terminal) {
  const std::string next = path_ + ".next";
  ::unlink(next.c_str());  // of a modem that was killed
  if (::symlink(terminal.c_str(), next.c_str()) != 0) fail("make the link", next);
  if (::rename(next.c_str(), path_.c_str()) != 0) fail("replace the link", path_);
  terminal_ = terminal;
}

terminal_link::~terminal_link() {
  // The path may have been removed by hand and taken by another program since.
  if (target_of(path_) == terminal_) ::unlink(path_.c_str());
}

}  // namespace sim
