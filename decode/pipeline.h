// Captures through the decoders, on one thread or several, in the order of their packets.
#pragma once

#include <cstdint>
#include <functional>

#include "decode/filter.h"
#include "decode/input/chunker.h"
#include "decode/output/record_output.h"
#include "decode/packet_stage.h"
#include "decode/summary.h"

namespace decode {

/// Threads beyond this would have little left to do each.
constexpr unsigned max_threads = 8;

/// One chunk for each thread, one to write and one to read: no thread waits for another.
constexpr unsigned chunks_in_flight(unsigned threads) {
  return threads + 2;
}

/// The chunks in flight are this much together, whatever the number of threads: the densest events
/// become some eighty times as much text.
constexpr std::size_t chunk_size(unsigned threads) {
  return std::size_t{640} * 1024 / chunks_in_flight(threads);
}

struct pipeline_options {
  unsigned threads = 1;  // at most max_threads
  filter wanted;
  std::function<void()> progress;  // called now and then, on the calling thread
};

/// Decodes the chunks of one capture after the other and keeps what decoders remember between them.
class pipeline {
 public:
  pipeline(const pipeline_options& options, record_store& store);

  /// Throws output_error; what came before is written and counted.
  void run(chunker& chunks);

  [[nodiscard]] const summary& counts() const { return counts_; }
  [[nodiscard]] summary& counts() { return counts_; }

 private:
  struct task;

  void decode(task& one, const stream_state& from) const;
  void finish(task& one);
  void run_alone(chunker& chunks);
  void run_threads(chunker& chunks);

  const pipeline_options& options_;
  record_store& store_;
  summary counts_;
  stream_state state_;
};

}  // namespace decode
