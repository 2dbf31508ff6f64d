// Start to end of a program that prints the usage text, beside a static hello-world.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <iostream>
#include <stdexcept>
#include <string>

#include "benchmarks/ratio.h"

namespace {

/// Runs the program with its output to /dev/null; returns its peak resident memory in KiB.
long run_once(const char* program) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  std::string name = program;
  std::array<char*, 2> argv{name.data(), nullptr};
  pid_t child = 0;
  const int error = posix_spawn(&child, program, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  rusage usage{};
  if (error != 0 || wait4(child, &status, 0, &usage) != child || status != 0) {
    throw std::runtime_error(name + " did not run");
  }
  return usage.ru_maxrss;
}

void run_program(benchmark::State& state, const char* program) {
  long peak = 0;
  for (auto _ : state) peak = run_once(program);
  state.counters["peak_KiB"] = static_cast<double>(peak);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::RegisterBenchmark("startup_hello_world", run_program, TVK_HELLO_PROGRAM)
      ->UseRealTime();
  benchmark::RegisterBenchmark("startup_tvk_usage", run_program, TVK_PROGRAM)->UseRealTime();
  constexpr std::array ratios{ratio{"startup_tvk_usage", "startup_hello_world", 1.5}};
  const int result = run_with_ratios(argc, argv, ratios);
  std::cerr << "peak memory of tvk: " << run_once(TVK_PROGRAM) << " KiB (limit 4096 KiB)\n";
  return result;
}
