#include "benchmarks/peers.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

echo_process::echo_process() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0) std::abort();
  child_ = fork();
  if (child_ == 0) {
    close(ends[0]);
    ssize_t got = 0;
    while ((got = recv(ends[1], packet_.data(), packet_.size(), 0)) > 0) {
      if (send(ends[1], packet_.data(), static_cast<std::size_t>(got), 0) != got) break;
    }
    _exit(0);
  }
  close(ends[1]);
  end_ = ends[0];
}

echo_process::~echo_process() {
  close(end_);
  waitpid(child_, nullptr, 0);
}

bool echo_process::ping() {
  return send(end_, packet_.data(), packet_.size(), 0) == static_cast<ssize_t>(packet_.size()) &&
         recv(end_, packet_.data(), packet_.size(), 0) == static_cast<ssize_t>(packet_.size());
}

modem_process::modem_process() {
  std::string name = "/tmp/tvk-bench-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) std::abort();
  folder_ = name;
  const std::string socket = name + "/modem.sock";
  const std::string state = name + "/state";
  child_ = fork();
  if (child_ == 0) {
    execl(TVK_MODEM_PROGRAM, TVK_MODEM_PROGRAM, "serve", "--socket", socket.c_str(), "--state",
          state.c_str(), nullptr);
    _exit(127);
  }
  setenv("TVK_MODEM", ("unix:" + socket).c_str(), 1);
  setenv("TVK_DIAG", ("unix:" + name + "/diag.sock").c_str(), 1);
}

double modem_process::resident_kib() const {
  std::ifstream status("/proc/" + std::to_string(child_) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::stod(line.substr(sizeof "VmRSS:"));
  }
  return 0;
}

modem_process::~modem_process() {
  kill(child_, SIGTERM);
  waitpid(child_, nullptr, 0);
  std::filesystem::remove_all(folder_);
}

void silence_standard_output() {
  dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
}
