#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <utility>

#include "decode/input/files.h"
#include "decode/live/gsmtap_sender.h"
#include "decode/live/session.h"
#include "decode/messages.h"
#include "decode/options.h"
#include "decode/output/file_output.h"
#include "decode/output/record_output.h"
#include "decode/output/table_folder.h"
#include "decode/page/live/live_page.h"
#include "decode/page/page_store.h"
#include "decode/summary/report.h"
#include "decode/summary/report_reader.h"
#include "decode/summary/summary.h"
#include "host/file_descriptor.h"
#include "host/standard_descriptors.h"

namespace {

using namespace decode;

constexpr int failed = 1;

file_output open_output(const options& chosen) {
  if (chosen.output.empty() || chosen.makes_tables()) {
    return {"standard output", host::file_descriptor(::dup(STDOUT_FILENO))};
  }
  return file_output(chosen.output);
}

/// Named after what it was made from.
page::page_head page_head_of(const input_files& inputs) {
  page::page_head head{.title = "Report", .inputs = {}};
  for (const auto& input : inputs.files) head.inputs.push_back(input.name());
  if (head.inputs.size() == 1) head.title = head.inputs.front();
  return head;
}

std::unique_ptr<record_store> make_store(const options& chosen, file_output& output,
                                         const input_files& inputs, const file_set& taken) {
  if (chosen.makes_tables()) {
    return table_store(chosen.format == output_format::csv ? csv_rows : json_rows,
                       chosen.with_raw_bytes, {chosen.output, chosen.partition, chosen.force},
                       taken);
  }
  switch (chosen.format) {
    case output_format::text:
      return text_store(output, chosen.with_time);
    case output_format::json_lines:
      return json_lines_store(output, chosen.with_raw_bytes);
    case output_format::pcap:
      return pcap_store(output, chosen.with_comments);
    case output_format::html:
      return page::html_store(output, page_head_of(inputs));
    case output_format::csv:
    case output_format::none:
      break;
  }
  return no_store();
}

file_output open_summary(const options& chosen) {
  if (!chosen.summary_file.empty()) return file_output(chosen.summary_file);
  const bool is_output = chosen.format == output_format::none && chosen.output.empty();
  return {"summary", host::file_descriptor(::dup(is_output ? STDOUT_FILENO : STDERR_FILENO))};
}

std::string report_of(const options& chosen, const summary& counts, double seconds) {
  return chosen.summary == summary_format::json ? to_json(counts, seconds)
                                                : to_text(counts, seconds);
}

int merge(const options& chosen) {
  const auto merged = merge_summaries(chosen.inputs);
  if (!merged) return failed;
  file_set taken;
  for (const auto& input : chosen.inputs) taken.add(input);
  auto output = open_output(chosen);
  output.must_not_be_of(taken);
  output.write(report_of(chosen, merged->counts, merged->seconds));
  return 0;
}

int run(const options& chosen) {
  const auto begin = std::chrono::steady_clock::now();
  // Listed before outputs are created: an output in an input directory is not an input.
  const auto inputs = list_files(chosen.inputs);
  file_set taken;
  for (const auto& input : inputs.files) taken.add(input.path);
  auto output = open_output(chosen);
  if (!chosen.save.empty()) taken.add(chosen.save);
  output.must_not_be_of(taken);
  auto summary_to = open_summary(chosen);
  summary_to.must_not_be_of(taken);
  auto store = make_store(chosen, output, inputs, taken);
  if (chosen.gsmtap) store = gsmtap_store(std::move(store), *chosen.gsmtap);
  summary counts;
  if (chosen.page) store = page::live_page_store(std::move(store), *chosen.page, counts);
  const bool is_written = !chosen.makes_tables() && chosen.format != output_format::none;
  const bool all_read =
      chosen.live ? decode_live(chosen, *store, is_written ? output.descriptor() : -1, counts)
                  : decode_files(chosen, inputs, *store, counts);
  if (counts.frames > 0) {
    output.begin();
    store->start();
    store->finish(counts);
  }
  if (chosen.with_summary) {
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    summary_to.write(report_of(chosen, counts, took.count()));
  }
  return all_read && !(chosen.strict && counts.has_rejections()) ? 0 : failed;
}

}  // namespace

int main(int argc, char** argv) {
  host::fill_standard_descriptors();
  // Reaching the file size limit then is an error to report, like a full disk.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    int exit_code = 0;
    const auto chosen = parse_command_line(argc, argv, exit_code);
    if (!chosen) return exit_code;
    return chosen->merge_summaries ? merge(*chosen) : run(*chosen);
  } catch (const std::exception& e) {
    report(e.what());
    return failed;
  }
}
