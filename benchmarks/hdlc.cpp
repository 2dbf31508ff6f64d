// Extracting packets from a DIAG byte stream, compared to a byte-by-byte loop, on log packets of
// mixed sizes with random content: one byte in 128 is escaped.
#include "protocol/hdlc.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "benchmarks/byte_loop.h"
#include "benchmarks/ratio.h"

namespace {

constexpr std::size_t stream_size = std::size_t{8} << 20;

const std::vector<std::uint8_t>& stream() {
  static const auto made = [] {
    std::mt19937 random(1);
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint8_t> packet;
    while (bytes.size() < stream_size) {
      packet.resize(16 + random() % 1000);
      for (auto& byte : packet) byte = static_cast<std::uint8_t>(random());
      protocol::hdlc::append_frame(bytes, packet);
    }
    return bytes;
  }();
  return made;
}

void report(benchmark::State& state, std::size_t packets) {
  if (packets == 0) state.SkipWithError("no packets");
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream().size()));
}

void byte_by_byte(benchmark::State& state) {
  std::size_t packets = 0;
  for ([[maybe_unused]] auto _ : state) packets += deframe_byte_by_byte(stream());
  report(state, packets);
}
BENCHMARK(byte_by_byte)->UseRealTime();

void deframe(benchmark::State& state) {
  constexpr std::size_t piece_size = std::size_t{1} << 16;
  std::size_t packets = 0;
  for ([[maybe_unused]] auto _ : state) {
    protocol::hdlc::deframer in;
    for (protocol::byte_view rest = stream(); !rest.empty();) {
      protocol::byte_view piece = rest.first(std::min(piece_size, rest.size()));
      rest = rest.subspan(piece.size());
      for (protocol::byte_view packet; in.next(piece, packet); ++packets) {
        benchmark::DoNotOptimize(packet.data());
      }
    }
  }
  report(state, packets);
}
BENCHMARK(deframe)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  constexpr std::array ratios{ratio{"deframe", "byte_by_byte", 0.33}};
  return run_with_ratios(argc, argv, ratios);
}
