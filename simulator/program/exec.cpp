// tvk-modem exec: a modem for as long as one command runs.
#include <fcntl.h>
#include <fmt/core.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

#include <asio/io_context.hpp>

#include "host/file_descriptor.h"
#include "host/uninterrupted.h"
#include "protocol/diag_port.h"
#include "protocol/modem_socket.h"
#include "simulator/failure.h"
#include "simulator/program/commands.h"
#include "simulator/program/signals.h"
#include "simulator/standard_error.h"

namespace sim {
namespace {

constexpr int cannot_start = 127;

/// A fresh directory, removed with its contents.
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
  arguments.reserve(command.size() + 1);
  // execvp only reads them.
  for (const std::string& each : command) arguments.push_back(const_cast<char*>(each.c_str()));
  arguments.push_back(nullptr);

  // Closes without a byte when the command runs, and carries errno when it does not.
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return errno;
  const host::file_descriptor outcome(ends[0]);
  host::file_descriptor report(ends[1]);
  child = ::fork();
  if (child < 0) return errno;
  if (child == 0) {
    ::pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    std::signal(SIGXFSZ, SIG_DFL);
    ::execvp(arguments[0], arguments.data());
    const int error = errno;
    const bool reported = ::write(report.get(), &error, sizeof(error)) == sizeof(error);
    ::_exit(reported ? cannot_start : EXIT_FAILURE);
  }
  report = host::file_descriptor();
  int error = 0;
  const auto size =
      host::uninterrupted([&] { return ::read(outcome.get(), &error, sizeof(error)); });
  if (size != sizeof(error)) return 0;
  ::waitpid(child, nullptr, 0);
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
    asked.modem.socket = directory.emplace().path() + '/' + protocol::modem_socket::socket_name;
  }
  // The command may change its directory before it looks for the modem.
  asked.modem.socket = std::filesystem::absolute(asked.modem.socket);
  std::string& diag_socket = asked.modem.diag.socket;
  if (diag_socket.empty()) diag_socket = diag_socket_beside(asked.modem.socket);
  diag_socket = std::filesystem::absolute(diag_socket);

  // If the caller ignored it, the kernel would discard the exit status.
  ::signal(SIGCHLD, SIG_DFL);
  pid_t child = 0;
  int status = 0;
  asio::io_context io(1);
  const signals events(io, {SIGINT, SIGTERM, SIGHUP, SIGCHLD}, [&](const signalfd_siginfo& event) {
    if (event.ssi_signo == SIGCHLD) {
      if (::waitpid(child, &status, WNOHANG) == child) io.stop();
    } else if (event.ssi_code <= 0) {
      // Another process sent it. The command also gets the ones from the terminal.
      ::kill(child, static_cast<int>(event.ssi_signo));
    }
  });
  const simulated_modem modem(io, asked.modem);

  ::setenv(protocol::modem_socket::endpoint_variable, ("unix:" + asked.modem.socket).c_str(), 1);
  ::setenv(protocol::diag::port_variable, ("unix:" + diag_socket).c_str(), 1);
  if (const int error = start(asked.command, events.mask_before(), child); error != 0) {
    tell_user(fmt::format("cannot run {}: {}", asked.command[0], std::strerror(error)));
    return cannot_start;
  }
  io.run();
  return exit_status(status);
}

}  // namespace sim
