#include "decode/progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>

#include "decode/messages.h"

namespace decode {

namespace {

constexpr std::uint64_t long_input = std::uint64_t{32} * 1024 * 1024;
constexpr auto pause_between = std::chrono::milliseconds(100);
constexpr int bar_width = 40;

}  // namespace

progress::progress(std::uint64_t all_bytes)
    : all_bytes_(all_bytes), shown_(all_bytes >= long_input && ::isatty(STDERR_FILENO) == 1) {}

progress::~progress() {
  if (written_) report_verbatim("\r\x1b[K");
}

void progress::show(std::uint64_t done_bytes) {
  if (!shown_) return;
  const auto now = clock::now();
  if (now - last_ < pause_between) return;
  last_ = now;
  written_ = true;
  const double part =
      std::min(1.0, static_cast<double>(done_bytes) / static_cast<double>(all_bytes_));
  const double seconds = std::chrono::duration<double>(now - begin_).count();
  const auto full = static_cast<std::size_t>(part * bar_width);
  report_verbatim(fmt::format("\r[{:<{}}] {:3.0f} %  {:.0f} MB/s ", std::string(full, '#'),
                              bar_width, 100 * part,
                              static_cast<double>(done_bytes) / seconds / 1e6));
}

}  // namespace decode
