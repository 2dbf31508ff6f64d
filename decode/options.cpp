#include "decode/options.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <sstream>
#include <thread>

#include <CLI/CLI.hpp>

#include "decode/messages.h"
#include "decode/output/file_output.h"
#include "decode/output/time_text.h"
#include "decode/pipeline.h"
#include "decode/record_list.h"

namespace decode {

namespace {

constexpr int wrong_usage = 2;

/// Reduces `wanted` to the listed numbers, all of which must be in it.
template <std::size_t N>
void select(std::bitset<N>& wanted, const std::vector<std::string>& list, const char* what) {
  const auto possible = wanted;
  wanted.reset();
  for (const auto& text : list) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const char* const first = text.data() + (hex ? 2 : 0);
    const char* const last = text.data() + text.size();
    std::size_t number = 0;
    const auto result = std::from_chars(first, last, number, hex ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != last || number >= N || !possible[number]) {
      throw CLI::ValidationError(std::string("--") + what, "'" + text + "' has no decoder");
    }
    wanted.set(number);
  }
}

std::int64_t to_time(const char* option, const std::string& text) {
  const auto time = parse_time(text);
  if (!time) {
    throw CLI::ValidationError(
        option, "'" + text + "' is not a time; expected UTC like 2016-03-23T21:55:49.316");
  }
  return *time;
}

}  // namespace

std::optional<options> parse_command_line(int argc, char** argv, int& exit_code) {
  options chosen;
  chosen.threads = std::clamp(std::thread::hardware_concurrency(), 1U, max_threads);

  CLI::App app(
      "Decodes modem diagnostic logs: captures (.qmdl, .qmdl2, .mi2log, .dlf, packed or not) or a "
      "live DIAG port into statistics records.",
      "tvk-decode");
  app.set_version_flag("--version", "tvk-decode " TVK_DECODE_VERSION);
  app.get_formatter()->column_width(34);

  std::ostringstream page;
  app.add_flag_callback(
      "--list-records",
      [&] {
        page << record_list();
        throw CLI::Success();
      },
      "describe the records, in Markdown");

  app.add_option("input", chosen.inputs, "files, directories, - for standard input");
  std::string live;
  auto* const live_option =
      app.add_option("--live", live,
                     "decode a DIAG port until interrupted: unix:PATH, unix-packet:PATH, "
                     "unix-packet:@NAME, tcp:HOST:PORT or tty:PATH; "
                     "default: the port that TVK_DIAG names")
          ->expected(0, 1);
  auto* const save_option =
      app.add_option("--save", chosen.save, "save everything the port sends in a .qmdl file")
          ->needs(live_option);
  app.add_flag("--force", chosen.force, "let --save replace an existing file")->needs(save_option);

  const std::map<std::string, output_format> formats{{"text", output_format::text},
                                                     {"jsonl", output_format::json_lines},
                                                     {"csv", output_format::csv},
                                                     {"none", output_format::none}};
  app.add_option("-f,--format", chosen.format, "text, jsonl, csv or none; default: text")
      ->transform(CLI::CheckedTransformer(formats, CLI::ignore_case).description(""));
  app.add_option("-o,--output", chosen.output,
                 "file to write, or directory for csv; default: standard output");
  app.add_flag("--time", chosen.with_time, "text: start each line with time and radio");
  app.add_flag("--raw", chosen.with_raw_bytes, "jsonl, csv: add the record's bytes");
  app.add_flag("--summary", chosen.with_summary,
               "print counts at the end: on standard output with -f none, otherwise on standard "
               "error");

  std::vector<std::string> codes;
  std::vector<std::string> events;
  std::vector<std::string> data_ids;
  std::string from;
  std::string to;
  const auto add_list = [&](const char* name, std::vector<std::string>& list, const char* what) {
    // One argument only: the next one is an input.
    app.add_option(name, list, what)->delimiter(',')->allow_extra_args(false);
  };
  add_list("--code", codes, "only these log codes: 0xB193,0xB0C2");
  add_list("--event", events, "only these event ids: 1606");
  add_list("--data-id", data_ids, "only records with these ids: 82,108");
  app.add_option("--from", from, "only packets from this time on, UTC: 2016-03-23T21:55:49.316");
  app.add_option("--to", to, "only packets up to this time");
  app.add_option("--radio", chosen.wanted.radio, "only this radio, counted from 1")
      ->check(CLI::PositiveNumber);

  app.add_flag("--strict", chosen.strict, "exit with 1 if anything was lost or rejected");
  app.add_option("-j,--threads", chosen.threads, "number of threads; default: one per core")
      ->check(CLI::Range(1U, max_threads));
  app.add_option("--memory", chosen.memory,
                 fmt::format("memory limit for unpacking, like 1GiB; default: {}MiB",
                             unpacking_memory >> 20))
      ->transform(CLI::AsSizeValue(false).description(""));

  try {
    app.parse(argc, argv);
    if (live_option->count() > 0) chosen.live = live;
    if (!codes.empty() || !events.empty()) {
      select(chosen.wanted.logs, codes, "code");
      select(chosen.wanted.events, events, "event");
    }
    if (!data_ids.empty()) select(chosen.wanted.data_ids, data_ids, "data-id");
    if (!from.empty()) chosen.wanted.from = to_time("--from", from);
    if (!to.empty()) chosen.wanted.to = to_time("--to", to);
    if (chosen.inputs.empty() == !chosen.live.has_value()) {
      throw CLI::RequiredError(chosen.live ? "Either input or --live, not both"
                                           : "An input or --live");
    }
    if (chosen.format == output_format::csv && chosen.output.empty()) {
      throw CLI::RequiredError("--output DIRECTORY for csv");
    }
  } catch (const CLI::ParseError& e) {
    std::ostringstream complaint;
    exit_code = app.exit(e, page, complaint) == 0 ? 0 : wrong_usage;
    write_whole(STDOUT_FILENO, "standard output", page.str());
    report_verbatim(complaint.str());
    return std::nullopt;
  }
  return chosen;
}

}  // namespace decode
