// The command line of tvk-decode.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "decode/filter.h"
#include "decode/input/byte_source.h"

namespace decode {

enum class output_format : std::uint8_t { text, json_lines, csv, none };

struct options {
  std::vector<std::string> inputs;  // files, directories, "-"
  std::optional<std::string> live;  // DIAG port; empty: what TVK_DIAG names
  std::string save;                 // file for what came over the port
  bool force = false;               // it may be there already
  output_format format = output_format::text;
  std::string output;  // file, directory for CSV; empty: standard output
  bool with_time = false;
  bool with_raw_bytes = false;
  bool with_summary = false;
  bool strict = false;
  unsigned threads = 1;
  std::uint64_t memory = unpacking_memory;
  filter wanted = filter::all();
};

/// Nothing when there is nothing to do: help or version were printed, or what is wrong was told;
/// `exit_code` says which. Throws output_error.
[[nodiscard]] std::optional<options> parse_command_line(int argc, char** argv, int& exit_code);

}  // namespace decode
