#include "decode/files.h"

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
  pipeline decoding(how, store);
  how.progress = [&] { shown.show(decoding.counts().bytes + reading->consumed()); };
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
    const auto frames_before = decoding.counts().frames;
    chunker chunks(*source, chunk_size(chosen.threads));
    decoding.run(chunks);
    const auto bytes = source->consumed();
    decoding.counts().bytes += bytes;
    if (!source->damage().empty()) {
      report_problem(file, source->damage());
      ++decoding.counts().damaged_files;
      all_read = false;
    } else if (bytes > 0 && decoding.counts().frames == frames_before) {
      report_problem(file, "no diagnostic packets");
      if (file.named) all_read = false;
    }
  }
  counts.add(decoding.counts());
  return all_read;
}

}  // namespace decode
