// tvk-modem exec: a modem for as long as one command runs.
#include <fmt/core.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

#include <asio/io_context.hpp>

#include "simulator/commands.h"
#include "simulator/failure.h"
#include "simulator/signals.h"

namespace sim {
namespace {

constexpr int cannot_start = 127;

/// A fresh directory, removed with what is in it.
class temporary_directory {
 public:
  temporary_directory() {
    std::error_code no_such_place;
    path_ = std::filesystem::temp_directory_path(no_such_place) / "tvk-modem-XXXXXX";
    if (no_such_place) throw failure("TMPDIR names no directory: " + no_such_place.message());
    if (::mkdtemp(path_.data()) == nullptr) {
      throw failure(fmt::format("cannot make the directory {}: {}", path_, std::strerror(errno)));
    }
  }
  temporary_directory(const temporary_directory&) = delete;
  temporary_directory& operator=(const temporary_directory&) = delete;
  ~temporary_directory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// Starts the command with the signals as this program found them. 0 or errno.
int start(const std::vector<std::string>& command, const sigset_t& mask, pid_t& child) {
  std::vector<char*> arguments;
  // posix_spawnp only reads them.
  for (const std::string& each : command) arguments.push_back(const_cast<char*>(each.c_str()));
  arguments.push_back(nullptr);

  posix_spawnattr_t attributes;
  ::posix_spawnattr_init(&attributes);
  ::posix_spawnattr_setsigmask(&attributes, &mask);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  const int error =
      ::posix_spawnp(&child, arguments[0], nullptr, &attributes, arguments.data(), environ);
  ::posix_spawnattr_destroy(&attributes);
  return error;
}

int exit_status(int status) {
  constexpr int killed = 128;
  return WIFSIGNALED(status) ? killed + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

int run(exec_command asked) {
  std::optional<temporary_directory> directory;
  if (asked.modem.socket.empty()) {
    asked.modem.socket = directory.emplace().path() + "/modem.sock";
  }
  // The command may go to another directory before it looks for the modem.
  asked.modem.socket = std::filesystem::absolute(asked.modem.socket);

  // Where the caller ignored it the kernel would throw the exit status away.
  ::signal(SIGCHLD, SIG_DFL);
  pid_t child = 0;
  int status = 0;
  asio::io_context io(1);
  const signals events(io, {SIGINT, SIGTERM, SIGCHLD}, [&](const signalfd_siginfo& event) {
    if (event.ssi_signo == SIGCHLD) {
      if (::waitpid(child, &status, WNOHANG) == child) io.stop();
    } else if (event.ssi_code <= 0) {
      // Another process sent it. One from the terminal the command has got as well.
      ::kill(child, static_cast<int>(event.ssi_signo));
    }
  });
  const simulated_modem modem(io, asked.modem);

  ::setenv("TVK_MODEM", ("unix:" + asked.modem.socket).c_str(), 1);
  if (const int error = start(asked.command, events.mask_before(), child); error != 0) {
    fmt::print(stderr, "tvk-modem: cannot run {}: {}\n", asked.command[0], std::strerror(error));
    return cannot_start;
  }
  io.run();
  return exit_status(status);
}

}  // namespace sim
