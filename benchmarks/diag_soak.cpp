// An hour of factory work at once: 100,000 requests over one connection to the DIAG port, compared
// to as many ping-pongs, and the growth of the modem's memory.
#include <benchmark/benchmark.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <vector>

#include "benchmarks/peers.h"
#include "benchmarks/ratio.h"
#include "host/byte_stream.h"
#include "host/endpoint.h"
#include "host/write_all.h"
#include "protocol/diag_port.h"
#include "protocol/hdlc.h"

namespace {

constexpr int requests = 100'000;
constexpr int settled = 1'000;  // after this many requests memory should no longer grow
constexpr double most_growth = 1.05;

double first_memory = 0;
double last_memory = 0;

class diag_connection {
 public:
  diag_connection() {
    // The modem may still be starting up.
    for (int i = 0; i < 100 && !port_.valid(); ++i) {
      usleep(50'000);
      port_ = host::open_byte_stream(
                  host::chosen_endpoint(protocol::diag::port_variable, protocol::diag::port_socket))
                  .file;
    }
  }

  /// True when the answer is the request followed by more bytes.
  [[nodiscard]] bool exchange() {
    if (!host::send_all(port_.get(), frame_, std::chrono::seconds(3))) return false;
    while (true) {
      pollfd wait{.fd = port_.get(), .events = POLLIN, .revents = 0};
      if (poll(&wait, 1, 3000) <= 0) return false;
      const ssize_t got = read(port_.get(), buffer_.data(), buffer_.size());
      if (got <= 0) return false;
      protocol::byte_view bytes(buffer_.data(), static_cast<std::size_t>(got));
      protocol::byte_view packet;
      if (!frames_.next(bytes, packet)) continue;
      return packet.size() > request.size() &&
             std::equal(request.begin(), request.end(), packet.begin());
    }
  }

 private:
  static constexpr std::array<std::uint8_t, 4> request = {0x4B, 0x0B, 0x00, 0x00};

  host::file_descriptor port_;
  std::vector<std::uint8_t> frame_ = [] {
    std::vector<std::uint8_t> frame;
    protocol::hdlc::append_frame(frame, request);
    return frame;
  }();
  protocol::hdlc::deframer frames_;
  std::array<std::uint8_t, 65536> buffer_{};
};

void ping_pong(benchmark::State& state) {
  static echo_process peer;
  for ([[maybe_unused]] auto _ : state) {
    if (!peer.ping()) return state.SkipWithError("ping-pong failed");
  }
}
BENCHMARK(ping_pong)->Iterations(requests)->UseRealTime();

void diag_requests(benchmark::State& state) {
  const modem_process modem;
  diag_connection connection;
  int done = 0;
  for ([[maybe_unused]] auto _ : state) {
    if (!connection.exchange()) return state.SkipWithError("no answer");
    if (++done == settled) first_memory = modem.resident_kib();
  }
  last_memory = modem.resident_kib();
  state.counters["KiB_after_1000"] = first_memory;
  state.counters["KiB_at_end"] = last_memory;
}
BENCHMARK(diag_requests)->Iterations(requests)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  constexpr std::array ratios{ratio{"diag_requests", "ping_pong", 0}};
  const int result = run_with_ratios(argc, argv, ratios);
  if (last_memory <= most_growth * first_memory) return result;
  std::fprintf(stderr, "memory grew from %.0f to %.0f KiB\n", first_memory, last_memory);
  return 1;
}
