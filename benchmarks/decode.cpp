// A run of tvk-decode over a file in memory, compared to only searching for the ends of frames
// (memchr) and to a byte-by-byte deframer. Rates are in bytes of the capture.
//
//   bench_decode [--quick] [CAPTURE...]
//
// The captures are repeated up to 1 GB, or 64 MB with --quick. Without arguments it uses the
// captures next to the sources, or synthetic log packets if there are none.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "benchmarks/byte_loop.h"
#include "protocol/hdlc.h"
#include "protocol/log_packet.h"

namespace {

using bytes = std::vector<std::uint8_t>;
using clock_type = std::chrono::steady_clock;

constexpr std::size_t full_size = std::size_t{1} << 30;
constexpr std::size_t quick_size = std::size_t{64} << 20;

/// Serving cell measurements, and packets without a decoder, both with random content. So escapes
/// are as frequent as in random data, and versions are rejected.
bytes synthetic_capture() {
  std::mt19937 random(1);
  bytes made;
  bytes payload;
  for (int i = 0; i < 10'000; ++i) {
    payload.resize(25 + random() % 600);
    for (auto& byte : payload) byte = static_cast<std::uint8_t>(random());
    const std::uint16_t code = i % 3 == 0 ? 0xB0C2 : 0xB0EE;
    if (code == 0xB0C2) std::fill_n(payload.begin(), 25, std::uint8_t{2});
    protocol::hdlc::append_frame(
        made,
        protocol::diag::build_log(
            {.code = code, .time = 0x00D4DD349E0A0CBE + 65536ULL * random(), .payload = payload}));
  }
  return made;
}

bytes read_captures(std::vector<std::string> paths) {
  const std::filesystem::path folder = TVK_CAPTURES_DIR;
  if (paths.empty() && std::filesystem::exists(folder)) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      const auto kind = entry.path().extension();
      if (kind == ".qmdl" || kind == ".mi2log") paths.push_back(entry.path());
    }
    std::ranges::sort(paths);
  }
  if (paths.empty()) return synthetic_capture();
  bytes all;
  for (const auto& path : paths) {
    std::ifstream file(path, std::ios::binary);
    all.insert(all.end(), std::istreambuf_iterator<char>(file), {});
  }
  return all;
}

/// A file in memory: other programs open path(), this one reads content().
class memory_file {
 public:
  memory_file(const bytes& captures, std::size_t size) : file_(::memfd_create("captures", 0)) {
    while (size_ == 0 || size_ + captures.size() <= size) {
      for (std::size_t done = 0; done < captures.size();) {
        const auto count = ::write(file_, captures.data() + done, captures.size() - done);
        if (count <= 0) std::exit(EXIT_FAILURE);
        done += static_cast<std::size_t>(count);
      }
      size_ += captures.size();
    }
    at_ = ::mmap(nullptr, size_, PROT_READ, MAP_SHARED | MAP_POPULATE, file_, 0);
    if (at_ == MAP_FAILED) std::exit(EXIT_FAILURE);
  }
  memory_file(const memory_file&) = delete;
  memory_file& operator=(const memory_file&) = delete;
  ~memory_file() {
    ::munmap(at_, size_);
    ::close(file_);
  }

  [[nodiscard]] std::string path() const {
    return "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(file_);
  }
  [[nodiscard]] std::span<const std::uint8_t> content() const {
    return {static_cast<const std::uint8_t*>(at_), size_};
  }

 private:
  int file_;
  void* at_ = nullptr;
  std::size_t size_ = 0;
};

double seconds_of(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

struct result {
  double wall = 1e9;
  double cpu = 1e9;
  long peak = 0;  // kB; 0 if it ran in this process
};

result best_of(int times, const std::function<result()>& once) {
  result best;
  for (int i = 0; i < times; ++i) {
    const auto one = once();
    best = {std::min(best.wall, one.wall), std::min(best.cpu, one.cpu),
            std::max(best.peak, one.peak)};
  }
  return best;
}

result run_decoder(const std::string& path, const char* format, const char* threads) {
  const auto begin = clock_type::now();
  const pid_t child = ::fork();
  if (child == 0) {
    ::execl(TVK_DECODE_PROGRAM, TVK_DECODE_PROGRAM, "-f", format, "-j", threads, "-o", "/dev/null",
            path.c_str(), nullptr);
    std::_Exit(127);
  }
  int status = 0;
  rusage used{};
  ::wait4(child, &status, 0, &used);
  if (status != 0) {
    std::fprintf(stderr, "tvk-decode failed\n");
    std::exit(EXIT_FAILURE);
  }
  return {std::chrono::duration<double>(clock_type::now() - begin).count(),
          seconds_of(used.ru_utime) + seconds_of(used.ru_stime), used.ru_maxrss};
}

result run_here(const std::function<std::size_t()>& count_frames) {
  rusage before{};
  rusage after{};
  ::getrusage(RUSAGE_SELF, &before);
  const auto begin = clock_type::now();
  if (count_frames() == 0) std::exit(EXIT_FAILURE);
  const std::chrono::duration<double> wall = clock_type::now() - begin;
  ::getrusage(RUSAGE_SELF, &after);
  return {wall.count(), seconds_of(after.ru_utime) - seconds_of(before.ru_utime), 0};
}

std::size_t find_terminators(std::span<const std::uint8_t> rest) {
  std::size_t found = 0;
  while (const void* at = std::memchr(rest.data(), protocol::hdlc::terminator, rest.size())) {
    rest = rest.subspan(
        static_cast<std::size_t>(static_cast<const std::uint8_t*>(at) - rest.data()) + 1);
    ++found;
  }
  return found;
}

}  // namespace

int main(int argc, char** argv) {
  bool quick = false;
  std::vector<std::string> paths;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--quick") quick = true;
    if (!argument.starts_with("--")) paths.push_back(argument);
  }
  const memory_file file(read_captures(paths), quick ? quick_size : full_size);
  const int times = quick ? 2 : 5;
  std::printf("%zu MB, best of %d\n%-22s %10s %12s %10s\n", file.content().size() / 1'000'000,
              times, "", "MB/s", "MB/CPU s", "peak MB");
  const auto row = [&](const char* name, const std::function<result()>& once) {
    const auto best = best_of(times, once);
    const double megabytes = static_cast<double>(file.content().size()) / 1e6;
    std::printf("%-22s %10.0f %12.0f", name, megabytes / best.wall, megabytes / best.cpu);
    if (best.peak > 0) std::printf(" %10.1f", static_cast<double>(best.peak) / 1e3);
    std::printf("\n");
    return best.wall;
  };
  row("memchr of 7E", [&] { return run_here([&] { return find_terminators(file.content()); }); });
  row("byte by byte",
      [&] { return run_here([&] { return deframe_byte_by_byte(file.content()); }); });
  row("none, 1 thread", [&] { return run_decoder(file.path(), "none", "1"); });
  row("none, 2 threads", [&] { return run_decoder(file.path(), "none", "2"); });
  row("pcap, 1 thread", [&] { return run_decoder(file.path(), "pcap", "1"); });
  row("pcap, 2 threads", [&] { return run_decoder(file.path(), "pcap", "2"); });
  const double alone =
      row("jsonl, 1 thread", [&] { return run_decoder(file.path(), "jsonl", "1"); });
  const double two =
      row("jsonl, 2 threads", [&] { return run_decoder(file.path(), "jsonl", "2"); });
  std::printf("jsonl, 2 threads to 1: %.2f\n", alone / two);
}
