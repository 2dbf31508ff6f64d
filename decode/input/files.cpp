#include "decode/input/files.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>

#include "decode/messages.h"
#include "decode/pipeline.h"
#include "decode/progress.h"

namespace decode {

namespace {

void report_problem(const input_file& about, const std::string& text) {
  report(fmt::format("{}: {}", about.name(), text));
}

std::uint64_t size_of(const std::vector<input_file>& files) {
  std::uint64_t size = 0;
  for (const auto& file : files) {
    std::error_code none;
    const auto one = std::filesystem::file_size(file.path, none);
    if (!none) size += one;
  }
  return size;
}

}  // namespace

bool decode_files(const options& chosen, const input_files& inputs, record_store& store,
                  summary& counts) {
  bool all_read = inputs.complete;
  progress shown(size_of(inputs.files));
  const byte_source* reading = nullptr;
  pipeline_options how{.threads = chosen.threads, .wanted = chosen.wanted, .progress = {}};
  how.progress = [&] { shown.show(counts.bytes + reading->consumed()); };
  pipeline decoding(how, store);
  for (const auto& file : inputs.files) {
    std::unique_ptr<byte_source> source;
    try {
      source = open_source(file.path, chosen.memory);
    } catch (const input_error& e) {
      report_problem(file, e.what());
      all_read = false;
      continue;
    }
    reading = source.get();
    chunker chunks(*source, chunk_size(chosen.threads));
    summary found;
    decoding.run(chunks, file.path, found);
    found.bytes = source->consumed();
    if (!source->damage().empty()) {
      report_problem(file, source->damage());
      ++found.damaged_files;
      all_read = false;
    } else if (found.bytes > 0 && found.frames == 0) {
      report_problem(file, "no diagnostic packets");
      if (file.named) all_read = false;
    }
    found.files.push_back({file.name(), found.bytes, found.frames, found.records.sum()});
    counts.add(found);
  }
  return all_read;
}

}  // namespace decode
