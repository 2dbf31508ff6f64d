#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>

#include "decode/files.h"
#include "decode/live/session.h"
#include "decode/messages.h"
#include "decode/options.h"
#include "decode/output/file_output.h"
#include "decode/output/record_output.h"
#include "decode/summary.h"
#include "host/file_descriptor.h"
#include "host/standard_descriptors.h"

namespace {

using namespace decode;

constexpr int failed = 1;

host::file_descriptor open_output(const options& chosen) {
  if (chosen.output.empty() || chosen.format == output_format::csv) {
    return host::file_descriptor(::dup(STDOUT_FILENO));
  }
  host::file_descriptor file(
      ::open(chosen.output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (!file.valid()) {
    throw output_error(
        fmt::format("{}: {}", chosen.output, std::generic_category().message(errno)));
  }
  return file;
}

std::unique_ptr<record_store> make_store(const options& chosen, int file) {
  switch (chosen.format) {
    case output_format::text:
      return text_store(file, chosen.with_time);
    case output_format::json_lines:
      return json_lines_store(file, chosen.with_raw_bytes);
    case output_format::csv:
      return csv_store(chosen.output, chosen.with_raw_bytes);
    case output_format::none:
      break;
  }
  return no_store();
}

int run(const options& chosen) {
  const auto begin = std::chrono::steady_clock::now();
  const auto file = open_output(chosen);
  const auto store = make_store(chosen, file.get());
  summary counts;
  const bool is_written =
      chosen.format == output_format::text || chosen.format == output_format::json_lines;
  const bool all_read = chosen.live
                            ? decode_live(chosen, *store, is_written ? file.get() : -1, counts)
                            : decode_files(chosen, *store, counts);
  if (chosen.with_summary) {
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    const bool is_output = chosen.format == output_format::none && chosen.output.empty();
    write_whole(is_output ? STDOUT_FILENO : STDERR_FILENO, "summary",
                to_text(counts, took.count()));
  }
  return all_read && !(chosen.strict && counts.has_rejections()) ? 0 : failed;
}

}  // namespace

int main(int argc, char** argv) {
  host::fill_standard_descriptors();
  try {
    int exit_code = 0;
    const auto chosen = parse_command_line(argc, argv, exit_code);
    return chosen ? run(*chosen) : exit_code;
  } catch (const std::exception& e) {
    tell(e.what());
    return failed;
  }
}
