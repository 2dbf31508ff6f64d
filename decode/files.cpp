#include "decode/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

#include "decode/messages.h"
#include "decode/pipeline.h"
#include "decode/progress.h"

namespace decode {

namespace {

namespace fs = std::filesystem;

struct input_file {
  std::string path;
  bool named;  // by the user, not found in a directory
};

/// Files of directories in order of their names.
std::vector<input_file> list_files(const std::vector<std::string>& inputs, bool& all_read) {
  std::vector<input_file> files;
  for (const auto& input : inputs) {
    std::error_code error;
    if (!fs::is_directory(input, error)) {
      files.push_back({input, true});
      continue;
    }
    std::vector<std::string> found;
    for (fs::recursive_directory_iterator at(input, error), end; !error && at != end;
         at.increment(error)) {
      std::error_code no_file;
      if (at->is_regular_file(no_file)) found.push_back(at->path());
    }
    if (error) {
      tell(fmt::format("{}: {}", input, error.message()));
      all_read = false;
    }
    std::ranges::sort(found);
    for (auto& path : found) files.push_back({std::move(path), false});
  }
  return files;
}

std::uint64_t size_of(const std::vector<input_file>& files) {
  std::uint64_t size = 0;
  for (const auto& file : files) {
    std::error_code none;
    const auto one = fs::file_size(file.path, none);
    if (!none) size += one;
  }
  return size;
}

}  // namespace

bool decode_files(const options& chosen, record_store& store, summary& counts) {
  bool all_read = true;
  const auto files = list_files(chosen.inputs, all_read);
  progress shown(size_of(files));
  const byte_source* reading = nullptr;
  pipeline_options how{.threads = chosen.threads, .wanted = chosen.wanted, .progress = {}};
  pipeline decoding(how, store);
  how.progress = [&] { shown.show(decoding.counts().bytes + reading->consumed()); };
  for (const auto& file : files) {
    const auto frames_before = decoding.counts().frames;
    std::uint64_t bytes = 0;
    try {
      const auto source = open_source(file.path);
      reading = source.get();
      try {
        chunker chunks(*source, chunk_size(chosen.threads));
        decoding.run(chunks);
      } catch (const input_error& e) {
        tell(e.what());
        all_read = false;
      }
      bytes = source->consumed();
    } catch (const input_error& e) {
      tell(e.what());
      all_read = false;
      continue;
    }
    decoding.counts().bytes += bytes;
    if (bytes > 0 && decoding.counts().frames == frames_before) {
      tell(fmt::format("{}: no diagnostic packets", file.path));
      if (file.named) all_read = false;
    }
  }
  counts.add(decoding.counts());
  return all_read;
}

}  // namespace decode
