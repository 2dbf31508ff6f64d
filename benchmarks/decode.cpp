// Runs of tvk-decode over files in memory, compared to only searching for the ends of frames
// (memchr) and to a byte-by-byte deframer. Rates are in bytes of the capture.
//
//   bench_decode [--quick] [--baseline=PROGRAM] [CAPTURE...]
//
// There are two files: the captures one after the other, and a dense one with only those packets
// that make records. Each is repeated up to 256 MB, or 16 MB with --quick. Without arguments it
// uses the captures next to the sources, or synthetic log packets if there are none. With a
// baseline, another build of tvk-decode, its runs alternate with those of this build. The page of
// charts is compared to decoding without output as well.
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
#include <map>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "benchmarks/byte_loop.h"
#include "modem_stats/dispatch.h"
#include "protocol/hdlc.h"
#include "protocol/log_packet.h"

namespace {

using bytes = std::vector<std::uint8_t>;
using clock_type = std::chrono::steady_clock;

constexpr std::size_t full_size = std::size_t{256} << 20;
constexpr std::size_t quick_size = std::size_t{16} << 20;

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

/// Whether a packet makes a record.
class dense_filter final : modem_stats::record_sink {
 public:
  bool keeps(protocol::byte_view whole) {
    using modem_stats::packet_kind;
    found_ = false;
    const auto inner = protocol::diag::unwrap_radio(whole);
    if (!inner || inner->packet.empty()) return false;
    if (inner->packet[0] == protocol::diag::log_code) {
      const auto log = protocol::diag::parse_log(inner->packet);
      if (log) decode(packet_kind::log, log->code, log->payload);
    } else if (inner->packet[0] == protocol::diag::event_code) {
      protocol::diag::event_reader events(inner->packet);
      while (const auto event = events.next()) {
        decode(packet_kind::event, event->id, event->payload);
      }
    }
    return found_;
  }

 private:
  void decode(modem_stats::packet_kind kind, std::uint16_t id, protocol::byte_view payload) {
    static_cast<void>(
        modem_stats::decode_packet({kind, id, 0, payload}, {.records = this}, state_));
  }
  void record(const modem_stats::record_schema& /*schema*/,
              const modem_stats::record_data& /*data*/) override {
    found_ = true;
  }

  modem_stats::stream_state state_;
  bool found_ = false;
};

bytes dense(const bytes& captures) {
  dense_filter filter;
  protocol::hdlc::deframer frames;
  bytes made;
  bytes copy = captures;  // the deframer may unescape in place
  protocol::byte_view rest = copy;
  for (protocol::byte_view packet; frames.next(rest, packet);) {
    if (filter.keeps(packet)) protocol::hdlc::append_frame(made, packet);
  }
  return made;
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

void keep_best(result& best, const result& one) {
  best = {std::min(best.wall, one.wall), std::min(best.cpu, one.cpu),
          std::max(best.peak, one.peak)};
}

/// Where CSV tables go: in memory, as the other outputs go nowhere.
const std::string& table_folder() {
  static const std::string folder = [] {
    std::string name = "/dev/shm/bench_decode.XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) std::exit(EXIT_FAILURE);
    return name;
  }();
  return folder;
}

result run_decoder(const char* program, const std::string& path, const std::string& format,
                   const char* threads) {
  const std::string output = format == "csv" ? table_folder() + "/tables" : "/dev/null";
  if (format == "csv") std::filesystem::remove_all(output);
  const auto begin = clock_type::now();
  const pid_t child = ::fork();
  if (child == 0) {
    ::execl(program, program, "-f", format.c_str(), "-j", threads, "-o", output.c_str(),
            path.c_str(), nullptr);
    std::_Exit(127);
  }
  int status = 0;
  rusage used{};
  ::wait4(child, &status, 0, &used);
  if (status != 0) {
    std::fprintf(stderr, "%s failed\n", program);
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

std::size_t byte_by_byte(std::span<const std::uint8_t> rest) {
  return deframe_byte_by_byte(rest);
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

void print_row(const std::string& name, std::size_t size, const result& best) {
  const double megabytes = static_cast<double>(size) / 1e6;
  std::printf("%-20s %8.0f %10.0f", name.c_str(), megabytes / best.wall, megabytes / best.cpu);
  if (best.peak > 0) std::printf(" %8.1f", static_cast<double>(best.peak) / 1e3);
}

/// `limit`: of the time for the page, over that for no output; 0: none.
void measure(const char* what, const memory_file& file, int times, const char* baseline,
             double limit) {
  const auto size = file.content().size();
  std::printf("%s, %zu MB, best of %d\n%-20s %8s %10s %8s\n", what, size / 1'000'000, times, "",
              "MB/s", "MB/CPU s", "peak MB");
  for (const auto& row :
       {std::pair("memchr of 7E", &find_terminators), std::pair("byte by byte", &byte_by_byte)}) {
    result best;
    for (int i = 0; i < times; ++i) {
      keep_best(best, run_here([&] { return row.second(file.content()); }));
    }
    print_row(row.first, size, best);
    std::printf("\n");
  }
  std::map<std::string, result> without_output;  // by threads
  for (const std::string format : {"none", "text", "jsonl", "csv", "pcap", "html"}) {
    double alone = 0;
    for (const char* threads : {"1", "2"}) {
      result best;
      result before;
      for (int i = 0; i < times; ++i) {
        keep_best(best, run_decoder(TVK_DECODE_PROGRAM, file.path(), format, threads));
        if (baseline != nullptr) {
          keep_best(before, run_decoder(baseline, file.path(), format, threads));
        }
      }
      print_row(format + ", -j " + threads, size, best);
      if (alone > 0) std::printf("  to one thread: %.2f", alone / best.wall);
      alone = best.wall;
      if (format == "none") without_output[threads] = best;
      if (format == "html") {
        const auto& none = without_output[threads];
        std::printf("  to none: %.2f, CPU %.2f", best.wall / none.wall, best.cpu / none.cpu);
        if (limit > 0) std::printf(" (limit %.1f)", limit);
      }
      if (baseline != nullptr) {
        std::printf("  to baseline: %.2f (%.0f MB/s, %.1f MB)", before.wall / best.wall,
                    static_cast<double>(size) / 1e6 / before.wall,
                    static_cast<double>(before.peak) / 1e3);
      }
      std::printf("\n");
      std::fflush(stdout);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  bool quick = false;
  const char* baseline = nullptr;
  std::vector<std::string> paths;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    constexpr std::string_view of_baseline = "--baseline=";
    if (argument == "--quick") quick = true;
    if (argument.starts_with(of_baseline)) baseline = argv[i] + of_baseline.size();
    if (!argument.starts_with("--")) paths.emplace_back(argument);
  }
  const std::size_t size = quick ? quick_size : full_size;
  const int times = quick ? 1 : 5;
  const auto captures = read_captures(paths);
  measure("captures", memory_file(captures, size), times, baseline, 1.3);
  const auto records = dense(captures);
  if (!records.empty()) measure("dense", memory_file(records, size), times, baseline, 0);
  std::filesystem::remove_all(table_folder());
}
