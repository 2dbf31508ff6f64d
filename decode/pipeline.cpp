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
  ++counts.unfinished;
  counts.skipped_bytes += bytes.size();
}

}  // namespace

/// A chunk and its results.
struct pipeline::task {
  chunk input;
  std::unique_ptr<record_writer> writer;
  summary counts;
  stream from;  // with which decoding started
  stream to;
  bool used_rrc_states = false;
  bool used_messages = false;
  bool done = false;
};

pipeline::pipeline(const pipeline_options& options, record_store& store)
    : options_(options), store_(store) {}

void pipeline::decode(task& one, const stream& from) const {
  one.counts.clear();
  one.writer->clear();
  one.from = from;
  packet_stage stage(options_.wanted, store_.wants_lines(), from, *one.writer, one.counts);
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
  one.used_rrc_states = stage.used_rrc_states();
  one.used_messages = stage.used_messages();
}

/// Called in the order of chunks. With threads, a chunk is decoded before it is known what its
/// predecessors leave behind: counts are then corrected, and a chunk that depends on a state that
/// turns out different is decoded again.
void pipeline::finish(task& one, summary& counts) {
  if ((one.used_rrc_states && one.from.rrc != stream_.rrc) ||
      (one.used_messages && one.from.messages != stream_.messages)) {
    decode(one, stream_);
  }
  const auto late = stream_.counts - one.from.counts;
  stream_.counts += one.to.counts - one.from.counts;
  if (one.used_rrc_states) stream_.rrc = one.to.rrc;
  if (one.used_messages) stream_.messages = one.to.messages;
  one.writer->flush(late);
  counts.add(one.counts);
  if (options_.progress) options_.progress();
}

void pipeline::run(chunker& chunks, const std::string& file, summary& counts) {
  stream_.restart();
  if (options_.threads > 1) {
    run_threads(chunks, file, counts);
  } else {
    run_alone(chunks, file, counts);
  }
  counts.incomplete_signalling += stream_.messages.size();
  counts.end_capture();
}

void pipeline::run_alone(chunker& chunks, const std::string& file, summary& counts) {
  task one;
  one.writer = store_.make_writer(file);
  while (chunks.next(one.input)) {
    decode(one, stream_);
    finish(one, counts);
  }
}

/// The calling thread reads and writes, and decodes too when there is nothing of either to do: a
/// thread that sleeps costs more to wake than a chunk takes.
void pipeline::run_threads(chunker& chunks, const std::string& file, summary& counts) {
  std::mutex mutex;
  std::condition_variable work_available;
  std::condition_variable chunk_done;
  std::deque<task*> work_queue;
  bool ended = false;

  const auto decode_next = [&](std::unique_lock<std::mutex>& lock) {
    task& one = *work_queue.front();
    work_queue.pop_front();
    lock.unlock();
    decode(one, one.from);
    lock.lock();
    one.done = true;
  };
  const auto run_worker = [&] {
    std::unique_lock lock(mutex);
    while (true) {
      work_available.wait(lock, [&] { return ended || !work_queue.empty(); });
      if (work_queue.empty()) return;
      decode_next(lock);
      chunk_done.notify_one();
    }
  };

  std::vector<task> tasks(chunks_in_flight(options_.threads));
  for (auto& one : tasks) one.writer = store_.make_writer(file);
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
      while (!oldest.done && !work_queue.empty()) decode_next(lock);
      chunk_done.wait(lock, [&] { return oldest.done; });
    }
    ++finished;
    finish(oldest, counts);
  };

  try {
    for (unsigned i = 1; i < options_.threads; ++i) workers.emplace_back(run_worker);
    while (true) {
      if (begun - finished == tasks.size()) finish_oldest();
      task& next = tasks[begun % tasks.size()];
      next.done = false;
      next.from = stream_;
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
