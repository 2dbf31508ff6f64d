// Writing and reading the largest EFS file, in 248 exchanges each, compared to as many bare
// ping-pongs of packets of the same size between two processes.
#include <benchmark/benchmark.h>

#include <array>
#include <string_view>
#include <vector>

#include "benchmarks/peers.h"
#include "benchmarks/ratio.h"
#include "norvel_extend_qmi/norvel_extend_nvefs.h"

namespace {

constexpr int exchanges = 248;
constexpr std::string_view path = "/nv/item_files/modem/bench";

void ping_pongs(benchmark::State& state) {
  echo_process echo;
  for (auto _ : state) {
    for (int i = 0; i < exchanges; ++i) {
      if (!echo.ping()) state.SkipWithError("no echo");
    }
  }
}
BENCHMARK(ping_pongs)->UseRealTime();

int write_file(const std::vector<unsigned char>& data) {
  return norvel_efs_write(0, path.data(), path.size(), data.data(),
                          static_cast<unsigned>(data.size()));
}

void efs_write(benchmark::State& state) {
  const std::vector<unsigned char> data(norvel_efs_max_file, 0x5A);
  for (auto _ : state) {
    if (write_file(data) != 0) state.SkipWithError("write failed");
  }
}
BENCHMARK(efs_write)->UseRealTime();

void efs_read(benchmark::State& state) {
  std::vector<unsigned char> data(norvel_efs_max_file, 0x5A);
  if (write_file(data) != 0) state.SkipWithError("write failed");
  for (auto _ : state) {
    auto length = static_cast<unsigned>(data.size());
    if (norvel_efs_read(0, path.data(), path.size(), data.data(), &length) != 0 ||
        length != norvel_efs_max_file) {
      state.SkipWithError("read failed");
    }
  }
}
BENCHMARK(efs_read)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  const modem_process modem;
  silence_standard_output();
  constexpr std::array ratios{
      ratio{"efs_write", "ping_pongs", 3.0},
      ratio{"efs_read", "ping_pongs", 3.0},
  };
  return run_with_ratios(argc, argv, ratios);
}
