// Taking packets out of a DIAG byte stream beside a loop that looks at each byte, on log packets of
// mixed sizes with random content: one byte in 128 is escaped.
#include "protocol/hdlc.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

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
  static const auto table = [] {
    std::array<std::uint16_t, 256> made{};
    for (unsigned byte = 0; byte < 256; ++byte) {
      unsigned crc = byte;
      for (int bit = 0; bit < 8; ++bit) crc = (crc & 1U) != 0 ? (crc >> 1U) ^ 0x8408U : crc >> 1U;
      made.at(byte) = static_cast<std::uint16_t>(crc);
    }
    return made;
  }();
  constexpr unsigned good_residue = 0xF0B8;
  std::size_t packets = 0;
  std::vector<std::uint8_t> packet;
  for ([[maybe_unused]] auto _ : state) {
    bool escaped = false;
    unsigned crc = 0xFFFF;
    packet.clear();
    for (std::uint8_t byte : stream()) {
      if (byte == protocol::hdlc::terminator) {
        if (packet.size() >= 3 && crc == good_residue) {
          benchmark::DoNotOptimize(packet.data());
          ++packets;
        }
        packet.clear();
        crc = 0xFFFF;
        escaped = false;
      } else if (byte == protocol::hdlc::escape) {
        escaped = true;
      } else {
        if (escaped) byte ^= protocol::hdlc::escape_xor;
        escaped = false;
        crc = (crc >> 8U) ^ table.at((crc ^ byte) & 0xFFU);
        packet.push_back(byte);
      }
    }
  }
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
