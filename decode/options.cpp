#include "decode/options.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string_view>
#include <thread>

#include <CLI/CLI.hpp>

#include "decode/messages.h"
#include "decode/name_list.h"
#include "decode/output/file_output.h"
#include "decode/output/schema_json.h"
#include "decode/output/schema_sql.h"
#include "decode/output/time_text.h"
#include "decode/pipeline.h"
#include "decode/record_list.h"
#include "decode/signalling/reader.h"

namespace decode {

namespace {

constexpr int wrong_usage = 2;

template <typename Value>
struct choice {
  std::string_view name;
  Value value;
};
constexpr choice<output_format> formats[] = {
    {"text", output_format::text}, {"jsonl", output_format::json_lines},
    {"csv", output_format::csv},   {"pcap", output_format::pcap},
    {"html", output_format::html}, {"none", output_format::none}};
/// Makes the page that --schema prints.
using schema_maker = std::string (*)();
constexpr choice<schema_maker> schemas[] = {
    {"json", json_schema},
    {"duckdb", [] { return sql_schema(duckdb_engine); }},
    {"postgresql", [] { return sql_schema(postgresql_engine); }},
    {"sqlite", [] { return sql_schema(sqlite_engine); }}};
constexpr choice<summary_format> summary_formats[] = {{"text", summary_format::text},
                                                      {"json", summary_format::json}};

template <typename Value, std::size_t n>
std::string names_of(const choice<Value> (&rows)[n], std::string_view separator) {
  std::string names;
  for (const auto& row : rows) names.append(names.empty() ? "" : separator).append(row.name);
  return names;
}

/// The value of the row with this name; the error lists the names.
template <typename Value, std::size_t n>
Value chosen_from(const choice<Value> (&rows)[n], const char* option, const std::string& name) {
  for (const auto& row : rows) {
    if (row.name == name) return row.value;
  }
  throw CLI::ValidationError(option,
                             fmt::format("'{}' is not one of {}", name, names_of(rows, ", ")));
}

/// Messages are read for outputs that show them, and where everything is only counted. Records
/// appear in pcap only as comments.
void choose_signalling(options& chosen) {
  const bool is_pcap = chosen.format == output_format::pcap;
  if (is_pcap || chosen.format == output_format::none || chosen.gsmtap) {
    chosen.wanted.signalling = signalling::logs();
  }
  if (chosen.format == output_format::html || chosen.page) {
    constexpr std::size_t sip_message = 0x156E;  // shown among the events
    chosen.wanted.signalling.set(sip_message);
  }
  if (is_pcap && !chosen.with_comments && !chosen.page) {
    chosen.wanted.logs.reset();
    chosen.wanted.events.reset();
  }
}

std::int64_t to_time(const char* option, const std::string& text) {
  const auto time = parse_time(text);
  if (!time) {
    throw CLI::ValidationError(
        option, "'" + text +
                    "' is not a time; expected one like 2016-03-23T21:55:49.316, in UTC, or with "
                    "an offset like +02:00");
  }
  return *time;
}

/// Ends the reading of a command line whose options do not fit together.
[[noreturn]] void refuse(const std::string& why) {
  throw CLI::ParseError(why, wrong_usage);
}

/// The error, or an empty text. Programs that read trees of tables ignore files whose names begin
/// with a dot or an underscore.
std::string check_partition(const std::string& name) {
  if (!name.empty() && name.find('/') == std::string::npos && name[0] != '.' && name[0] != '_') {
    return {};
  }
  return fmt::format("'{}' is not the name of a visible file", name);
}

constexpr const char* gsmtap_default = "127.0.0.1:4729";
constexpr const char* page_default = "127.0.0.1:8517";

/// The options with their help, the texts that they are given, and what becomes of those.
class command_line {
 public:
  command_line();

  /// Throws CLI::Success where a list or the help is all that is asked for.
  [[nodiscard]] options parse(int argc, char** argv);
  /// Prints what ended parse(), unless that was a list: that is returned.
  std::string end(const CLI::Success& what, int& exit_code);

 private:
  void add_lists();
  void add_sources();
  void add_outputs();
  void add_summary();
  void add_filters();
  void add_limits();
  void name_types();

  void take_outputs();
  void take_summary();
  void take_filters();
  void check() const;

  [[nodiscard]] bool has(const char* option) const { return app_.count(option) > 0; }

  CLI::App app_{
      "Decodes modem diagnostic logs: captures (.qmdl, .qmdl2, .mi2log, .dlf, packed or not) or a "
      "live DIAG port into statistics records.",
      "tvk-decode"};
  options chosen_;
  std::string list_;
  std::string live_;
  std::string gsmtap_;
  std::string page_;
  std::string format_;
  std::string summary_format_;
  std::vector<std::string> codes_;
  std::vector<std::string> events_;
  std::vector<std::string> data_ids_;
  std::string from_;
  std::string to_;
  bool product_versions_ = false;
};

command_line::command_line() {
  chosen_.threads = std::clamp(std::thread::hardware_concurrency(), 1U, max_threads);
  app_.set_version_flag("--version", "tvk-decode " TVK_DECODE_VERSION);
  app_.get_formatter()->column_width(34);
  add_lists();
  add_sources();
  add_outputs();
  add_summary();
  add_filters();
  add_limits();
  name_types();
}

/// They end the program.
void command_line::add_lists() {
  app_.add_flag_callback(
      "--list-records",
      [this] {
        list_ = record_list();
        throw CLI::Success();
      },
      "describe the records, in Markdown");
  app_.add_flag_callback(
      "--list-names",
      [this] {
        list_ = name_list();
        throw CLI::Success();
      },
      "list what --code, --event and --data-id take: kind, number, name");
  app_.add_option_function<std::string>(
      "--schema",
      [this](const std::string& name) {
        list_ = chosen_from(schemas, "--schema", name)();
        throw CLI::Success();
      },
      "print the schema of -f jsonl: json; or the statements that create and load tables: duckdb, "
      "postgresql, sqlite");
}

void command_line::add_sources() {
  app_.add_option("input", chosen_.inputs, "files, directories, - for standard input");
  auto* const live_option =
      app_.add_option("--live", live_,
                      "decode a DIAG port until interrupted: unix:PATH, unix-packet:PATH, "
                      "unix-packet:@NAME, tcp:HOST:PORT or tty:PATH; "
                      "default: the port that TVK_DIAG names")
          ->expected(0, 1);
  app_.add_option("--save", chosen_.save, "save everything the port sends in a .qmdl file")
      ->needs(live_option);
  app_.add_flag("--force", chosen_.force,
                "let --save replace its file, and -f csv or --partition this run's tables");
  app_.add_option("--gsmtap", gsmtap_,
                  fmt::format("send signalling to a Wireshark that captures there: HOST:PORT; "
                              "default: {}",
                              gsmtap_default))
      ->expected(0, 1)
      ->needs(live_option);
  app_.add_option("--page", page_,
                  fmt::format("serve a page of charts that follows the port: HOST:PORT, port 0 "
                              "for any; default: {}",
                              page_default))
      ->expected(0, 1)
      ->needs(live_option);
}

void command_line::add_outputs() {
  app_.add_option("-f,--format", format_,
                  "text, jsonl, csv, pcap (signalling for Wireshark), html (a page of charts) or "
                  "none; default: text, with --page none");
  app_.add_option("-o,--output", chosen_.output,
                  "file to write, or directory for csv; default: standard output");
  app_.add_option("--partition", chosen_.partition,
                  "csv, jsonl: the output is a tree of record=.../day=.../NAME.csv, which runs of "
                  "other names may write too")
      ->check(check_partition);
  app_.add_flag("--time", chosen_.with_time, "text: start each line with time and radio");
  app_.add_flag("--raw", chosen_.with_raw_bytes, "jsonl, csv: add the record's bytes");
  app_.add_flag("--comments", chosen_.with_comments,
                "pcap: add records as comments on the message that follows them");
}

void command_line::add_summary() {
  app_.add_flag("--summary", chosen_.with_summary,
                "print counts at the end: on standard output with -f none, otherwise on standard "
                "error");
  app_.add_option("--summary-format", summary_format_,
                  "text or json; the latter implies --summary");
  app_.add_option("--summary-file", chosen_.summary_file,
                  "print the counts to a file; implies --summary");
  app_.add_flag("--merge-summaries", chosen_.merge_summaries,
                "merge the JSON summaries of other runs, which are the inputs, into one");
}

void command_line::add_filters() {
  const auto add_list = [this](const char* name, std::vector<std::string>& list, const char* what) {
    // One argument only: the next one is an input.
    app_.add_option(name, list, what)->delimiter(',')->allow_extra_args(false);
  };
  add_list("--code", codes_, "only these logs, by code or name: 0xB193,lte_tx_power");
  add_list("--event", events_, "only these events, by id or name: 1606");
  add_list("--data-id", data_ids_, "only these records, by data id or name: 82,lte_rx_agc");
  app_.add_option(
      "--from", from_,
      "only packets from this time on: 2016-03-23T21:55:49.316, in UTC, or with an offset: +02:00");
  app_.add_option("--to", to_, "only packets up to this time");
  app_.add_option("--radio", chosen_.wanted.radio, "only this radio, counted from 1")
      ->check(CLI::PositiveNumber);
  app_.add_flag("--no-extra-versions", product_versions_,
                "decode only the versions that the product's parsers have");
}

void command_line::add_limits() {
  app_.add_flag("--strict", chosen_.strict, "exit with 1 if anything was lost or rejected");
  app_.add_option("-j,--threads", chosen_.threads, "number of threads; default: one per core")
      ->check(CLI::Range(1U, max_threads));
  app_.add_option("--memory", chosen_.memory,
                  fmt::format("memory limit for unpacking, like 1GiB; default: {}MiB",
                              unpacking_memory >> 20))
      ->transform(CLI::AsSizeValue(false).description(""));
}

/// What --help calls the values of options, from which completion knows what to offer.
void command_line::name_types() {
  const std::pair<const char*, std::string> rows[] = {
      {"input", "PATH"},          {"--schema", names_of(schemas, "|")},
      {"--live", "PORT"},         {"--save", "FILE"},
      {"--gsmtap", "ADDRESS"},    {"--format", names_of(formats, "|")},
      {"--output", "PATH"},       {"--summary-format", names_of(summary_formats, "|")},
      {"--code", "LOG"},          {"--event", "EVENT"},
      {"--data-id", "RECORD"},    {"--from", "TIME"},
      {"--to", "TIME"},           {"--radio", "N"},
      {"--threads", "N"},         {"--memory", "SIZE"},
      {"--page", "ADDRESS"},      {"--partition", "NAME"},
      {"--summary-file", "FILE"},
  };
  for (const auto& [option, type] : rows) app_.get_option(option)->type_name(type);
}

options command_line::parse(int argc, char** argv) {
  app_.parse(argc, argv);
  take_outputs();
  take_summary();
  take_filters();
  check();
  return chosen_;
}

std::string command_line::end(const CLI::Success& what, int& exit_code) {
  std::ostringstream help;
  exit_code = app_.exit(what, help);
  return list_ + help.str();
}

void command_line::take_outputs() {
  if (has("--live")) chosen_.live = live_;
  if (has("--gsmtap")) chosen_.gsmtap = gsmtap_.empty() ? gsmtap_default : gsmtap_;
  if (has("--page")) {
    chosen_.page = page_.empty() ? page_default : page_;
    chosen_.format = output_format::none;
  }
  if (!format_.empty()) chosen_.format = chosen_from(formats, "--format", format_);
  if (chosen_.output == "-") chosen_.output.clear();
  choose_signalling(chosen_);
}

void command_line::take_summary() {
  chosen_.with_summary |= !chosen_.summary_file.empty() || !summary_format_.empty();
  if (chosen_.merge_summaries) chosen_.summary = summary_format::json;
  if (!summary_format_.empty()) {
    chosen_.summary = chosen_from(summary_formats, "--summary-format", summary_format_);
  }
}

void command_line::take_filters() {
  filter& wanted = chosen_.wanted;
  const auto select = [&](const char* option, auto how, const std::vector<std::string>& list) {
    try {
      (wanted.*how)(list);
    } catch (const selection_error& e) {
      throw CLI::ValidationError(option, e.what());
    }
  };
  if (!codes_.empty() || !events_.empty()) {
    select("--code", &filter::select_logs, codes_);
    select("--event", &filter::select_events, events_);
  }
  if (!data_ids_.empty()) select("--data-id", &filter::select_records, data_ids_);
  if (product_versions_) wanted.versions = modem_stats::version_set::product;
  if (!from_.empty()) wanted.from = to_time("--from", from_);
  if (!to_.empty()) wanted.to = to_time("--to", to_);
}

/// Whether the options fit together.
void command_line::check() const {
  if (chosen_.merge_summaries) {
    constexpr std::string_view allowed[] = {"--merge-summaries", "input", "--output",
                                            "--summary-format"};
    for (const auto* const option : app_.get_options()) {
      if (option->count() > 0 && !std::ranges::count(allowed, option->get_name())) {
        refuse("--merge-summaries excludes " + option->get_name());
      }
    }
  }
  if (chosen_.inputs.empty() == !chosen_.live.has_value()) {
    refuse(chosen_.live ? "an input and --live exclude each other"
                        : "an input or --live is required");
  }
  const output_format format = chosen_.format;
  if (!chosen_.partition.empty() && format != output_format::csv &&
      format != output_format::json_lines) {
    refuse("--partition requires -f csv or -f jsonl");
  }
  if (chosen_.makes_tables() && chosen_.output.empty()) {
    refuse("csv and --partition require --output DIRECTORY");
  }
  if (chosen_.force && !chosen_.makes_tables() && !has("--save")) {
    refuse("--force requires --save, -f csv or --partition");
  }
  if (chosen_.with_comments && format != output_format::pcap) {
    refuse("--comments requires -f pcap");
  }
  if (format == output_format::pcap && chosen_.output.empty() && ::isatty(STDOUT_FILENO) == 1) {
    refuse("pcap requires --output FILE or a pipe");
  }
}

}  // namespace

std::optional<options> parse_command_line(int argc, char** argv, int& exit_code) {
  command_line given;
  try {
    return given.parse(argc, argv);
  } catch (const CLI::Success& e) {
    write_whole(STDOUT_FILENO, "standard output", given.end(e, exit_code));
  } catch (const CLI::ParseError& e) {
    exit_code = wrong_usage;
    report(fmt::format("{}; --help describes the options", e.what()));
  }
  return std::nullopt;
}

}  // namespace decode
