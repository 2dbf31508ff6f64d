// One exchange with the extension service, 512 bytes each way, beside a bare ping-pong of packets
// of the same size between two processes.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include "benchmarks/ratio.h"
#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "qcril-common/utilities/quiet_notes.h"

namespace {

constexpr std::size_t packet_size = 540;

/// The other end of the ping-pong, in a process of its own.
class echo_process {
 public:
  echo_process() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0) std::abort();
    child_ = fork();
    if (child_ == 0) {
      close(ends[0]);
      std::array<char, packet_size> packet{};
      ssize_t got = 0;
      while ((got = recv(ends[1], packet.data(), packet.size(), 0)) > 0) {
        if (send(ends[1], packet.data(), static_cast<std::size_t>(got), 0) != got) break;
      }
      _exit(0);
    }
    close(ends[1]);
    end_ = ends[0];
  }
  ~echo_process() {
    close(end_);
    waitpid(child_, nullptr, 0);
  }
  echo_process(const echo_process&) = delete;
  echo_process& operator=(const echo_process&) = delete;

  [[nodiscard]] bool ping() {
    return send(end_, packet_.data(), packet_.size(), 0) == static_cast<ssize_t>(packet_size) &&
           recv(end_, packet_.data(), packet_.size(), 0) == static_cast<ssize_t>(packet_size);
  }

 private:
  pid_t child_ = 0;
  int end_ = -1;
  std::array<char, packet_size> packet_{};
};

void ping_pong(benchmark::State& state) {
  echo_process echo;
  for (auto _ : state) {
    if (!echo.ping()) state.SkipWithError("no echo");
  }
}
BENCHMARK(ping_pong)->UseRealTime();

void exchange(benchmark::State& state) {
  std::array<unsigned char, norvel_extend_qmi_max_data> request{};
  std::array<unsigned char, norvel_extend_qmi_max_data> response{};
  for (auto _ : state) {
    unsigned int length = response.size();
    if (norvel_extend_qmi_send_sync(0, request.data(), request.size(), response.data(), &length) !=
            0 ||
        length != response.size()) {
      state.SkipWithError("exchange failed");
    }
  }
}

void exchange_printing(benchmark::State& state) {
  quiet_notes = 0;
  exchange(state);
}
BENCHMARK(exchange_printing)->UseRealTime();

void exchange_quiet(benchmark::State& state) {
  quiet_notes = 1;
  exchange(state);
}
BENCHMARK(exchange_quiet)->UseRealTime();

/// `tvk-modem serve` in a folder of its own, for as long as this lives.
class modem {
 public:
  modem() {
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
  }
  ~modem() {
    kill(child_, SIGTERM);
    waitpid(child_, nullptr, 0);
    std::filesystem::remove_all(folder_);
  }
  modem(const modem&) = delete;
  modem& operator=(const modem&) = delete;

 private:
  std::string folder_;
  pid_t child_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const modem simulated;
  const int nowhere = open("/dev/null", O_WRONLY);
  dup2(nowhere, STDOUT_FILENO);
  constexpr std::array ratios{
      ratio{"exchange_printing", "ping_pong", 2.0},
      ratio{"exchange_quiet", "exchange_printing", 0},
  };
  return run_with_ratios(argc, argv, ratios);
}
