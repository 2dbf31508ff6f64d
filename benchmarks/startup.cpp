// Running tvk to print the usage text, compared to a static hello-world program.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "benchmarks/ratio.h"

namespace {

pid_t start(const char* program) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  std::string name = program;
  std::array<char*, 2> argv{name.data(), nullptr};
  pid_t child = 0;
  const int error = posix_spawn(&child, program, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error(name + " did not start");
  return child;
}

void run_program(benchmark::State& state, const char* program) {
  for (auto _ : state) {
    int status = 0;
    if (waitpid(start(program), &status, 0) < 0 || status != 0) {
      state.SkipWithError("program failed");
    }
  }
}

/// The peak resident size of the program in KiB. Read while it is stopped at its exit, because
/// wait4's figure includes the time before exec, when it was a copy of this process.
long peak_memory(const char* program) {
  const pid_t child = fork();
  if (child == 0) {
    if (dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO) < 0) _exit(126);
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    execl(program, program, nullptr);
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);  // at exec
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACEEXIT);
  ptrace(PTRACE_CONT, child, nullptr, nullptr);
  waitpid(child, &status, 0);  // at exit
  std::ifstream lines("/proc/" + std::to_string(child) + "/status");
  long peak = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("VmHWM:")) peak = std::stol(line.substr(6));
  }
  ptrace(PTRACE_DETACH, child, nullptr, nullptr);
  waitpid(child, &status, 0);
  return peak;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::RegisterBenchmark("startup_hello_world", run_program, TVK_HELLO_PROGRAM)
      ->UseRealTime();
  benchmark::RegisterBenchmark("startup_tvk_usage", run_program, TVK_PROGRAM)->UseRealTime();
  constexpr std::array ratios{ratio{"startup_tvk_usage", "startup_hello_world", 1.5}};
  const int result = run_with_ratios(argc, argv, ratios);
  std::cerr << "peak memory: tvk " << peak_memory(TVK_PROGRAM) << " KiB (limit 4096 KiB), hello "
            << peak_memory(TVK_HELLO_PROGRAM) << " KiB\n";
  return result;
}
