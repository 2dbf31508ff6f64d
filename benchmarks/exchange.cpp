// One exchange with the extension service, 512 bytes each way, compared to a bare ping-pong of
// packets of the same size between two processes.
#include <benchmark/benchmark.h>

#include <array>

#include "benchmarks/peers.h"
#include "benchmarks/ratio.h"
#include "norvel_extend_qmi/norvel_extend_client.h"
#include "qcril-common/utilities/quiet_notes.h"

namespace {

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

}  // namespace

int main(int argc, char** argv) {
  const modem_process modem;
  silence_standard_output();
  constexpr std::array ratios{
      ratio{"exchange_printing", "ping_pong", 2.0},
      ratio{"exchange_quiet", "exchange_printing", 0},
  };
  return run_with_ratios(argc, argv, ratios);
}
