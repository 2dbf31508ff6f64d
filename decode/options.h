// The command line of tvk-decode.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "decode/filter.h"
#include "decode/input/byte_source.h"

namespace decode {

enum class output_format : std::uint8_t { text, json_lines, csv, pcap, html, none };
enum class summary_format : std::uint8_t { text, json };

struct options {
  std::vector<std::string> inputs;    // files, directories, "-"
  std::optional<std::string> live;    // DIAG port; empty: the one that TVK_DIAG names
  std::string save;                   // file for everything that the port sends
  bool force = false;                 // the file, or tables, may already exist
  std::optional<std::string> gsmtap;  // address to send signalling to
  std::optional<std::string> page;    // address at which to serve the live page
  output_format format = output_format::text;
  std::string output;     // file, or directory for tables; empty: standard output
  std::string partition;  // name of this run's files in a tree of tables; empty: no tree
  bool with_time = false;
  bool with_raw_bytes = false;
  bool with_comments = false;
  bool with_summary = false;
  summary_format summary = summary_format::text;
  std::string summary_file;      // empty: a standard stream
  bool merge_summaries = false;  // the inputs are summaries
  bool strict = false;
  unsigned threads = 1;
  std::uint64_t memory = unpacking_memory;
  filter wanted = filter::all();

  /// Whether the output is a directory.
  [[nodiscard]] bool makes_tables() const {
    return format == output_format::csv || !partition.empty();
  }
};

/// No value when there is nothing left to do but exit with `exit_code`: help or version has been
/// printed, or wrong usage reported. Throws output_error.
[[nodiscard]] std::optional<options> parse_command_line(int argc, char** argv, int& exit_code);

}  // namespace decode
