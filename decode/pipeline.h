// Runs captures through the decoders on one or more threads; output keeps the order of the packets.
#pragma once

#include <cstdint>
#include <functional>

#include "decode/filter.h"
#include "decode/input/chunker.h"
#include "decode/output/record_output.h"
#include "decode/packet_stage.h"
#include "decode/summary/summary.h"

namespace decode {

/// More threads would bring little gain.
constexpr unsigned max_threads = 8;

/// Two more than threads: what is done waits there for an older one, and no thread for its next.
constexpr unsigned chunks_in_flight(unsigned threads) {
  return threads + 2;
}

/// The total size of the chunks in flight does not depend on the number of threads. It limits
/// memory use: dense events turn into more than a hundred times as much text.
constexpr std::size_t chunk_size(unsigned threads) {
  return std::size_t{640} * 1024 / chunks_in_flight(threads);
}

struct pipeline_options {
  unsigned threads = 1;  // at most max_threads
  filter wanted;
  std::function<void()> progress;  // called after each chunk, on the calling thread
};

/// Decodes captures one after the other.
class pipeline {
 public:
  pipeline(const pipeline_options& options, record_store& store);

  /// Decodes a capture named `file`, and counts in the empty `counts` what is in it. Throws
  /// output_error; everything before that has been written and counted.
  void run(chunker& chunks, const std::string& file, summary& counts);

 private:
  struct task;

  void decode(task& one, const stream& from) const;
  void finish(task& one, summary& counts);
  void run_alone(chunker& chunks, const std::string& file, summary& counts);
  void run_threads(chunker& chunks, const std::string& file, summary& counts);

  const pipeline_options& options_;
  record_store& store_;
  stream stream_;  // after the last finished chunk
};

}  // namespace decode
