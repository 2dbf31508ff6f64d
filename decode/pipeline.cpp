#include "decode/pipeline.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "decode/input/unframed.h"
#include "protocol/hdlc.h"

namespace decode {

namespace {

using protocol::byte_view;

void decode_frames(byte_view bytes, packet_stage& stage, summary& counts) {
  protocol::hdlc::deframer frames;
  byte_view packet;
  while (frames.next(bytes, packet)) stage.packet(packet);
  frames.finish();
  add_losses(counts, frames.counts());
}

void decode_unframed(byte_view bytes, std::size_t prefix, packet_stage& stage, summary& counts) {
  while (const auto inner = next_unframed(bytes, prefix, counts.skipped_bytes)) {
    stage.inner_log(*inner);
  }
  if (bytes.empty()) return;
  ++counts.too_short;
  counts.skipped_bytes += bytes.size();
}

}  // namespace

/// A chunk and its results.
struct pipeline::task {
  chunk input;
  std::unique_ptr<record_writer> writer;
  summary counts;
  stream_state from;  // the state with which decoding started
  stream_state to;
  bool used_rrc_state = false;
  signalling::open_messages open_from;
  signalling::open_messages open_to;
  bool read_part = false;
  bool done = false;
};

pipeline::pipeline(const pipeline_options& options, record_store& store)
    : options_(options), store_(store) {}

void pipeline::decode(task& one, const stream_state& from,
                      const signalling::open_messages& open) const {
  one.counts.clear();
  one.writer->clear();
  one.from = from;
  one.open_from = open;
  packet_stage stage(options_.wanted, store_.wants_lines(), from, open, *one.writer, one.counts);
  switch (one.input.kind) {
    case capture_kind::hdlc:
      decode_frames(one.input.view(), stage, one.counts);
      break;
    case capture_kind::logs:
      decode_unframed(one.input.view(), logs_prefix, stage, one.counts);
      break;
    case capture_kind::bare:
      decode_unframed(one.input.view(), bare_prefix, stage, one.counts);
      break;
  }
  one.counts.too_long += one.input.lost_frames;
  one.counts.skipped_bytes += one.input.lost_bytes;
  one.to = stage.state();
  one.used_rrc_state = stage.used_rrc_state();
  one.open_to = stage.messages().open();
  one.read_part = stage.messages().has_read_part();
}

/// Called in the order of chunks. With threads, a chunk is decoded before the state after its
/// predecessors is known; if it depends on a part that turns out different, it is decoded again.
void pipeline::finish(task& one) {
  if ((one.used_rrc_state && one.from.lte_rrc_last_state != state_.lte_rrc_last_state) ||
      (one.read_part && one.open_from != open_)) {
    decode(one, state_, open_);
  }
  state_.versions_not_supported += one.to.versions_not_supported - one.from.versions_not_supported;
  if (one.used_rrc_state) state_.lte_rrc_last_state = one.to.lte_rrc_last_state;
  if (one.read_part) open_ = one.open_to;
  one.writer->flush();
  counts_.add(one.counts);
  if (options_.progress) options_.progress();
}

void pipeline::run(chunker& chunks) {
  // The parsers' lines contain a running count of rejections, so they need a single thread.
  if (options_.threads > 1 && !store_.wants_lines()) {
    run_threads(chunks);
  } else {
    run_alone(chunks);
  }
  counts_.incomplete_signalling += open_.size();
  open_.clear();
}

void pipeline::run_alone(chunker& chunks) {
  task one;
  one.writer = store_.make_writer();
  while (chunks.next(one.input)) {
    decode(one, state_, open_);
    finish(one);
  }
}

void pipeline::run_threads(chunker& chunks) {
  std::mutex mutex;
  std::condition_variable work_available;
  std::condition_variable chunk_done;
  std::deque<task*> work_queue;
  bool ended = false;

  const auto run_worker = [&] {
    std::unique_lock lock(mutex);
    while (true) {
      work_available.wait(lock, [&] { return ended || !work_queue.empty(); });
      if (work_queue.empty()) return;
      task& one = *work_queue.front();
      work_queue.pop_front();
      lock.unlock();
      decode(one, one.from, one.open_from);
      lock.lock();
      one.done = true;
      chunk_done.notify_one();
    }
  };

  std::vector<task> tasks(chunks_in_flight(options_.threads));
  for (auto& one : tasks) one.writer = store_.make_writer();
  std::vector<std::jthread> workers;
  const auto end = [&] {
    const std::lock_guard lock(mutex);
    ended = true;
    work_queue.clear();
    work_available.notify_all();
  };
  std::size_t begun = 0;
  std::size_t finished = 0;
  const auto finish_oldest = [&] {
    task& oldest = tasks[finished % tasks.size()];
    {
      std::unique_lock lock(mutex);
      chunk_done.wait(lock, [&] { return oldest.done; });
    }
    ++finished;
    finish(oldest);
  };

  try {
    for (unsigned i = 0; i < options_.threads; ++i) workers.emplace_back(run_worker);
    while (true) {
      if (begun - finished == tasks.size()) finish_oldest();
      task& next = tasks[begun % tasks.size()];
      next.done = false;
      next.from = state_;
      next.open_from = open_;
      if (!chunks.next(next.input)) break;
      ++begun;
      const std::lock_guard lock(mutex);
      work_queue.push_back(&next);
      work_available.notify_one();
    }
    while (finished < begun) finish_oldest();
  } catch (...) {
    end();
    throw;
  }
  end();
}

}  // namespace decode
