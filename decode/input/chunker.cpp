#include "decode/input/chunker.h"

#include <algorithm>
#include <cstring>

#include "decode/input/unframed.h"
#include "protocol/hdlc.h"

namespace decode {

namespace {

using protocol::byte_view;
namespace hdlc = protocol::hdlc;

std::size_t prefix_of(capture_kind kind) {
  return kind == capture_kind::bare ? bare_prefix : logs_prefix;
}

}  // namespace

chunker::chunker(byte_source& from, std::size_t chunk_size)
    : from_(from), chunk_size_(std::max(chunk_size, recognised_from)) {
  rest_.resize(recognised_from);
  rest_.resize(from_.read(rest_));
  const auto found = recognise(rest_);
  kind_ = found.kind;
  rest_.erase(rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(found.header));
}

/// The bytes after it are kept for the next chunk.
std::size_t chunker::end_of_last_packet(byte_view bytes) const {
  if (kind_ == capture_kind::hdlc) {
    const void* const last = ::memrchr(bytes.data(), hdlc::terminator, bytes.size());
    if (last == nullptr) return 0;
    return static_cast<std::size_t>(static_cast<const std::uint8_t*>(last) - bytes.data()) + 1;
  }
  std::uint64_t skipped = 0;
  byte_view rest = bytes;
  while (next_unframed(rest, prefix_of(kind_), skipped)) {
  }
  return bytes.size() - rest.size();
}

/// A frame is never as long as a chunk, so bytes up to the next terminator, which may be in a later
/// chunk, are lost.
void chunker::drop_endless_frame(chunk& next) {
  std::size_t lost = next.size;
  if (const auto end =
          std::find(next.bytes.begin(), next.bytes.begin() + static_cast<std::ptrdiff_t>(next.size),
                    hdlc::terminator);
      end != next.bytes.begin() + static_cast<std::ptrdiff_t>(next.size)) {
    lost = static_cast<std::size_t>(end - next.bytes.begin()) + 1;
    dropping_ = false;
  }
  std::memmove(next.bytes.data(), next.bytes.data() + lost, next.size - lost);
  next.size -= lost;
  next.lost_bytes += lost;
}

bool chunker::next(chunk& next) {
  next.kind = kind_;
  next.lost_frames = next.lost_bytes = 0;
  next.bytes.resize(chunk_size_);
  while (!at_end_ || !rest_.empty()) {
    std::ranges::copy(rest_, next.bytes.begin());
    next.size = rest_.size();
    rest_.clear();
    if (!at_end_) {
      const auto room = std::span(next.bytes).subspan(next.size);
      const auto more = from_.read(room);
      next.size += more;
      at_end_ = more == 0 && !room.empty();
    }
    if (dropping_) drop_endless_frame(next);
    if (at_end_) return next.size > 0 || next.lost_bytes > 0;
    const auto end = end_of_last_packet(next.view());
    rest_.assign(next.bytes.begin() + static_cast<std::ptrdiff_t>(end),
                 next.bytes.begin() + static_cast<std::ptrdiff_t>(next.size));
    next.size = end;
    if (end > 0) return true;
    if (rest_.size() < chunk_size_) continue;
    next.lost_bytes += rest_.size();
    ++next.lost_frames;
    dropping_ = kind_ == capture_kind::hdlc;
    rest_.clear();
  }
  return next.lost_bytes > 0;
}

}  // namespace decode
