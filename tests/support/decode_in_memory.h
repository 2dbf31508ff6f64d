// Captures in memory through the decoder.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <utility>

#include "decode/input/byte_source.h"
#include "decode/output/file_output.h"
#include "decode/pipeline.h"
#include "decode/signalling/reader.h"

namespace support {

/// Gives what it has in reads that are as long as asked.
class memory_source final : public decode::byte_source {
 public:
  explicit memory_source(std::span<const std::uint8_t> content) : rest_(content) {}

  std::size_t read(std::span<std::uint8_t> out) override {
    const auto count = std::min(out.size(), rest_.size());
    std::copy_n(rest_.begin(), count, out.begin());
    rest_ = rest_.subspan(count);
    return count;
  }
  [[nodiscard]] std::uint64_t consumed() const override { return 0; }

 private:
  std::span<const std::uint8_t> rest_;
};

inline decode::summary decode_to(decode::record_store& store, std::span<const std::uint8_t> capture,
                                 unsigned threads = 1) {
  // Made once: it takes longer than to decode most inputs of a fuzzer.
  static const auto everything = [] {
    auto all = decode::filter::all();
    all.signalling = decode::signalling::logs();
    return all;
  }();
  memory_source source(capture);
  const decode::pipeline_options how{.threads = threads, .wanted = everything, .progress = {}};
  decode::pipeline one(how, store);
  decode::chunker chunks(source, decode::chunk_size(decode::max_threads));
  decode::summary counts;
  one.run(chunks, "a \"capture\"", counts);
  return counts;
}

/// What the store that `make` makes for a file writes to it.
template <typename Make>
std::pair<std::string, decode::summary> written(Make make, std::span<const std::uint8_t> capture,
                                                unsigned threads) {
  const host::file_descriptor file(::memfd_create("output", MFD_CLOEXEC));
  decode::file_output to("output", host::file_descriptor(::dup(file.get())));
  const auto store = make(to);
  const auto counts = decode_to(*store, capture, threads);
  std::string text(static_cast<std::size_t>(::lseek(file.get(), 0, SEEK_END)), ' ');
  const auto size = ::pread(file.get(), text.data(), text.size(), 0);
  if (size != static_cast<ssize_t>(text.size())) std::abort();
  return {text, counts};
}

}  // namespace support
