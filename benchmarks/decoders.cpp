// The decoders over the log packets of the sample captures, code by code, with and without lines,
// compared to adding up the same bytes. Without the captures, over one packet of a single code.
#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "benchmarks/ratio.h"
#include "modem_stats/dispatch.h"
#include "modem_stats/record_slots.h"
#include "protocol/hdlc.h"
#include "protocol/log_packet.h"

namespace {

std::atomic<std::uint64_t> blocks_allocated = 0;

}  // namespace

// The linker redirects calls of malloc to these.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the linker's names.
void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size) {
  blocks_allocated.fetch_add(1, std::memory_order_relaxed);
  return __real_malloc(size);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
}

namespace {

using modem_stats::packet_kind;
using payload = std::vector<std::uint8_t>;
using packets_by_code = std::map<std::uint16_t, std::vector<payload>>;

void add_packets(const std::filesystem::path& file, packets_by_code& all) {
  std::ifstream in(file, std::ios::binary);
  const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
  protocol::hdlc::deframer frames;
  protocol::byte_view rest = bytes;
  for (protocol::byte_view packet; frames.next(rest, packet);) {
    const auto inner = protocol::diag::unwrap_radio(packet);
    const auto log = inner ? protocol::diag::parse_log(inner->packet) : std::nullopt;
    if (!log || !modem_stats::has_parser(packet_kind::log, log->code)) continue;
    all[log->code].emplace_back(log->payload.begin(), log->payload.end());
  }
}

const packets_by_code& packets() {
  static const auto all = [] {
    packets_by_code found;
    if (std::filesystem::is_directory(TVK_CAPTURES_DIR)) {
      for (const auto& file : std::filesystem::directory_iterator(TVK_CAPTURES_DIR)) {
        if (file.is_regular_file() && file.path().extension() != ".md") {
          add_packets(file.path(), found);
        }
      }
    } else {
      found[0xB0C2] = {{0x03, 0x21, 0x01, 0xD0, 0x03, 0x00, 0x00, 0x20, 0x4A, 0x00,
                        0x00, 0x19, 0x19, 0x0C, 0x50, 0x63, 0x00, 0xFB, 0xA4, 0x02,
                        0x00, 0x00, 0x00, 0x36, 0x01, 0x03, 0x04, 0x01, 0x01}};
    }
    return found;
  }();
  return all;
}

/// Discards lines, so that only producing them is measured.
class nowhere final : public modem_stats::line_sink {
 public:
  void write(std::string_view text) override { benchmark::DoNotOptimize(text.data()); }
};

/// Stores the last record in the form that its consumers expect.
class counted_records final : public modem_stats::record_sink {
 public:
  std::uint64_t count = 0;

  void record(const modem_stats::record_schema& schema,
              const modem_stats::record_data& data) override {
    ++count;
    slots_.record(schema, data);
  }

 private:
  modem_stats::record_slots slots_;
};

void report(benchmark::State& state, const std::vector<payload>& all) {
  std::size_t bytes = 0;
  for (const auto& one : all) bytes += one.size();
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(all.size()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void decode(benchmark::State& state, std::uint16_t code, bool with_lines) {
  const auto& all = packets().at(code);
  nowhere lines;
  counted_records records;
  modem_stats::stream_state stream;
  const auto blocks_before = blocks_allocated.load();
  for ([[maybe_unused]] auto _ : state) {
    for (const auto& one : all) {
      modem_stats::decode_packet({packet_kind::log, code, 0, one},
                                 {.lines = with_lines ? &lines : nullptr, .records = &records},
                                 stream);
    }
  }
  const auto blocks = blocks_allocated.load() - blocks_before;
  report(state, all);
  state.counters["blocks_per_record"] =
      records.count == 0 ? 0 : static_cast<double>(blocks) / static_cast<double>(records.count);
}

void add_up(benchmark::State& state, std::uint16_t code) {
  const auto& all = packets().at(code);
  for ([[maybe_unused]] auto _ : state) {
    unsigned sum = 0;
    for (const auto& one : all) {
      for (const auto byte : one) {
        sum += byte;
        benchmark::DoNotOptimize(sum);  // keeps the loop byte by byte
      }
    }
  }
  report(state, all);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> names;
  std::vector<ratio> ratios;
  names.reserve(3 * packets().size());
  const auto named = [&](const char* what, std::uint16_t code) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s/0x%04X", what, code);
    return names.emplace_back(text.data()).c_str();
  };
  for (const auto& [code, all] : packets()) {
    const char* const baseline = named("add_up", code);
    const char* const quiet = named("decode", code);
    const char* const printing = named("decode_with_lines", code);
    benchmark::RegisterBenchmark(baseline, add_up, code);
    benchmark::RegisterBenchmark(quiet, decode, code, false);
    benchmark::RegisterBenchmark(printing, decode, code, true);
    ratios.push_back({quiet, baseline, 0});
    ratios.push_back({printing, quiet, 0});
  }
  return run_with_ratios(argc, argv, ratios);
}
