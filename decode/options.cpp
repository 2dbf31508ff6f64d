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

/// What --help calls the values of options, from which completion knows what to offer.
void name_types(CLI::App& app) {
  struct type_row {
    const char* option;
    std::string type;
  };
  const type_row rows[] = {
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
  for (const auto& row : rows) app.get_option(row.option)->type_name(row.type);
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

/// The error, or an empty text. Programs that read trees of tables ignore files whose names begin
/// with a dot or an underscore.
std::string check_partition(const std::string& name) {
  if (!name.empty() && name.find('/') == std::string::npos && name[0] != '.' && name[0] != '_') {
    return {};
  }
  return fmt::format("'{}' is not the name of a visible file", name);
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
  app.add_flag_callback(
      "--list-names",
      [&] {
        page << name_list();
        throw CLI::Success();
      },
      "list what --code, --event and --data-id take: kind, number, name");
  app.add_option_function<std::string>(
      "--schema",
      [&](const std::string& name) {
        page << chosen_from(schemas, "--schema", name)();
        throw CLI::Success();
      },
      "print the schema of -f jsonl: json; or the statements that create and load tables: duckdb, "
      "postgresql, sqlite");

  auto* const input_option =
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
  auto* const force_option =
      app.add_flag("--force", chosen.force,
                   "let --save replace its file, and -f csv or --partition this run's tables");

  const std::string gsmtap_default = "127.0.0.1:4729";
  std::string gsmtap;
  auto* const gsmtap_option =
      app.add_option("--gsmtap", gsmtap,
                     "send signalling to a Wireshark that captures there: HOST:PORT; default: " +
                         gsmtap_default)
          ->expected(0, 1)
          ->needs(live_option);

  const std::string page_default = "127.0.0.1:8517";
  std::string page_address;
  auto* const page_option =
      app.add_option("--page", page_address,
                     "serve a page of charts that follows the port: HOST:PORT, port 0 for any; "
                     "default: " +
                         page_default)
          ->expected(0, 1)
          ->needs(live_option);

  std::string format;
  app.add_option("-f,--format", format,
                 "text, jsonl, csv, pcap (signalling for Wireshark), html (a page of charts) or "
                 "none; default: text, with --page none");
  auto* const output_option =
      app.add_option("-o,--output", chosen.output,
                     "file to write, or directory for csv; default: standard output");
  app.add_option("--partition", chosen.partition,
                 "csv, jsonl: the output is a tree of record=.../day=.../NAME.csv, which runs of "
                 "other names may write too")
      ->check(check_partition);
  app.add_flag("--time", chosen.with_time, "text: start each line with time and radio");
  app.add_flag("--raw", chosen.with_raw_bytes, "jsonl, csv: add the record's bytes");
  app.add_flag("--comments", chosen.with_comments,
               "pcap: add records as comments on the message that follows them");
  app.add_flag("--summary", chosen.with_summary,
               "print counts at the end: on standard output with -f none, otherwise on standard "
               "error");
  std::string summary_format;
  auto* const summary_format_option = app.add_option("--summary-format", summary_format,
                                                     "text or json; the latter implies --summary");
  app.add_option("--summary-file", chosen.summary_file,
                 "print the counts to a file; implies --summary");
  auto* const merge_option =
      app.add_flag("--merge-summaries", chosen.merge_summaries,
                   "merge the JSON summaries of other runs, which are the inputs, into one");
  const CLI::Option* const merge_options[] = {merge_option, input_option, output_option,
                                              summary_format_option};

  std::vector<std::string> codes;
  std::vector<std::string> events;
  std::vector<std::string> data_ids;
  std::string from;
  std::string to;
  const auto add_list = [&](const char* name, std::vector<std::string>& list, const char* what) {
    // One argument only: the next one is an input.
    app.add_option(name, list, what)->delimiter(',')->allow_extra_args(false);
  };
  add_list("--code", codes, "only these logs, by code or name: 0xB193,lte_tx_power");
  add_list("--event", events, "only these events, by id or name: 1606");
  add_list("--data-id", data_ids, "only these records, by data id or name: 82,lte_rx_agc");
  app.add_option(
      "--from", from,
      "only packets from this time on: 2016-03-23T21:55:49.316, in UTC, or with an offset: +02:00");
  app.add_option("--to", to, "only packets up to this time");
  app.add_option("--radio", chosen.wanted.radio, "only this radio, counted from 1")
      ->check(CLI::PositiveNumber);

  bool product_versions = false;
  app.add_flag("--no-extra-versions", product_versions,
               "decode only the versions that the product's parsers have");
  app.add_flag("--strict", chosen.strict, "exit with 1 if anything was lost or rejected");
  app.add_option("-j,--threads", chosen.threads, "number of threads; default: one per core")
      ->check(CLI::Range(1U, max_threads));
  app.add_option("--memory", chosen.memory,
                 fmt::format("memory limit for unpacking, like 1GiB; default: {}MiB",
                             unpacking_memory >> 20))
      ->transform(CLI::AsSizeValue(false).description(""));
  name_types(app);

  try {
    app.parse(argc, argv);
    if (live_option->count() > 0) chosen.live = live;
    if (page_option->count() > 0) {
      chosen.page = page_address.empty() ? page_default : page_address;
      chosen.format = output_format::none;
    }
    if (!format.empty()) chosen.format = chosen_from(formats, "--format", format);
    if (chosen.output == "-") chosen.output.clear();
    if (gsmtap_option->count() > 0) chosen.gsmtap = gsmtap.empty() ? gsmtap_default : gsmtap;
    choose_signalling(chosen);
    chosen.with_summary |= !chosen.summary_file.empty();
    if (chosen.merge_summaries) {
      chosen.summary = summary_format::json;
      for (const auto* const option : app.get_options()) {
        if (option->count() > 0 && !std::ranges::count(merge_options, option)) {
          throw CLI::ExcludesError(merge_option->get_name(), option->get_name());
        }
      }
    }
    if (!summary_format.empty()) {
      chosen.with_summary = true;
      chosen.summary = chosen_from(summary_formats, "--summary-format", summary_format);
    }
    const auto select = [&](const char* option, auto how, const std::vector<std::string>& list) {
      try {
        (chosen.wanted.*how)(list);
      } catch (const selection_error& e) {
        throw CLI::ValidationError(option, e.what());
      }
    };
    if (!codes.empty() || !events.empty()) {
      select("--code", &filter::select_logs, codes);
      select("--event", &filter::select_events, events);
    }
    if (!data_ids.empty()) select("--data-id", &filter::select_records, data_ids);
    if (product_versions) chosen.wanted.versions = modem_stats::version_set::product;
    if (!from.empty()) chosen.wanted.from = to_time("--from", from);
    if (!to.empty()) chosen.wanted.to = to_time("--to", to);
    if (chosen.inputs.empty() == !chosen.live.has_value()) {
      throw CLI::RequiredError(chosen.live ? "Either input or --live, not both"
                                           : "An input or --live");
    }
    if (!chosen.partition.empty() && chosen.format != output_format::csv &&
        chosen.format != output_format::json_lines) {
      throw CLI::RequiredError("-f csv or -f jsonl for --partition");
    }
    if (chosen.makes_tables() && chosen.output.empty()) {
      throw CLI::RequiredError("--output DIRECTORY for csv and --partition");
    }
    if (chosen.force && !chosen.makes_tables() && save_option->count() == 0) {
      throw CLI::RequiresError(force_option->get_name(), "--save, -f csv or --partition");
    }
    if (chosen.with_comments && chosen.format != output_format::pcap) {
      throw CLI::RequiredError("-f pcap for --comments");
    }
    if (chosen.format == output_format::pcap && chosen.output.empty() &&
        ::isatty(STDOUT_FILENO) == 1) {
      throw CLI::RequiredError("--output FILE, or a pipe, for pcap");
    }
  } catch (const CLI::Success& e) {
    exit_code = app.exit(e, page);
    write_whole(STDOUT_FILENO, "standard output", page.str());
    return std::nullopt;
  } catch (const CLI::ParseError& e) {
    exit_code = wrong_usage;
    report(fmt::format("{}; --help describes the options", e.what()));
    return std::nullopt;
  }
  return chosen;
}

}  // namespace decode
