#include "protocol/hdlc.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "protocol/bytes.h"

namespace protocol::hdlc {
namespace {

constexpr std::size_t crc_size = 2;
constexpr std::size_t min_size = 1 + crc_size;

/// The index of `byte` in `bytes`; the size of `bytes` when it does not occur.
std::size_t find(byte_view bytes, std::uint8_t byte) {
  if (bytes.empty()) return 0;
  const void* at = std::memchr(bytes.data(), byte, bytes.size());
  if (at == nullptr) return bytes.size();
  return static_cast<std::size_t>(static_cast<const std::uint8_t*>(at) - bytes.data());
}

/// Writes the unescaped frame to `out`, which may be the frame's own memory. Returns the number of
/// bytes; no value when the frame ends in an escape. `first` is the index of the first escape.
std::optional<std::size_t> unescape(byte_view frame, std::size_t first, std::uint8_t* out) {
  std::uint8_t* end = out;
  for (std::size_t run = first;; run = find(frame, escape)) {
    std::memmove(end, frame.data(), run);
    end += run;
    if (run == frame.size()) return static_cast<std::size_t>(end - out);
    frame = frame.subspan(run + 1);
    // Counters and tables have runs of escapes: do not search between adjacent ones.
    while (true) {
      if (frame.empty()) return std::nullopt;
      *end++ = frame[0] ^ escape_xor;
      if (frame.size() < 2 || frame[1] != escape) break;
      frame = frame.subspan(2);
    }
    frame = frame.subspan(1);
  }
}

bool is_special(std::uint8_t byte) {
  return byte == terminator || byte == escape;
}

std::uint8_t* put_escaped(std::uint8_t* out, std::uint8_t byte) {
  if (is_special(byte)) {
    *out++ = escape;
    byte ^= escape_xor;
  }
  *out++ = byte;
  return out;
}

}  // namespace

void append_frame(std::vector<std::uint8_t>& out, byte_view packet) {
  const std::size_t before = out.size();
  out.resize(before + 2 * (packet.size() + crc_size) + 1);
  const std::uint16_t crc = crc16(packet);
  std::uint8_t* end = out.data() + before;
  for (const std::uint8_t byte : packet) end = put_escaped(end, byte);
  end = put_escaped(end, static_cast<std::uint8_t>(crc & 0xFF));
  end = put_escaped(end, static_cast<std::uint8_t>(crc >> 8));
  *end++ = terminator;
  out.resize(static_cast<std::size_t>(end - out.data()));
}

void deframer::lose(std::uint64_t& reason, std::size_t wire_bytes) {
  ++reason;
  counts_.skipped_bytes += wire_bytes;
}

bool deframer::open(byte_view frame, byte_view& packet) {
  const std::size_t wire_bytes = frame.size() + 1;
  const std::size_t first_escape = find(frame, escape);
  if (first_escape < frame.size()) {
    if (frame_.size() < frame.size()) frame_.resize(frame.size());
    const auto size = unescape(frame, first_escape, frame_.data());
    if (!size) {
      lose(counts_.bad_crc, wire_bytes);
      return false;
    }
    frame = {frame_.data(), *size};
  }
  if (frame.size() < min_size) {
    lose(counts_.too_short, wire_bytes);
    return false;
  }
  packet = frame.first(frame.size() - crc_size);
  if (load_le<std::uint16_t>(frame.last(crc_size)) != crc16(packet)) {
    lose(counts_.bad_crc, wire_bytes);
    return false;
  }
  ++counts_.good;
  return true;
}

bool deframer::next(byte_view& bytes, byte_view& packet) {
  while (!bytes.empty()) {
    const std::size_t length = find(bytes, terminator);
    const bool ends = length < bytes.size();
    const byte_view piece = bytes.first(length);
    bytes = bytes.subspan(ends ? length + 1 : length);

    if (dropping_) {
      counts_.skipped_bytes += length + (ends ? 1 : 0);
      dropping_ = !ends;
      continue;
    }
    if (unfinished_.size() + length >= max_frame_size) {
      lose(counts_.too_long, unfinished_.size() + length + (ends ? 1 : 0));
      unfinished_.clear();
      dropping_ = !ends;
      continue;
    }
    if (ends && unfinished_.empty()) {
      if (!piece.empty() && open(piece, packet)) return true;
      continue;
    }
    unfinished_.insert(unfinished_.end(), piece.begin(), piece.end());
    if (!ends) continue;
    // The caller may use the packet, which lies in the joined frame, until the next call.
    std::swap(unfinished_, frame_);
    unfinished_.clear();
    if (open(frame_, packet)) return true;
  }
  return false;
}

void deframer::finish() {
  if (!unfinished_.empty()) lose(counts_.unfinished, unfinished_.size());
  unfinished_.clear();
  dropping_ = false;
}

}  // namespace protocol::hdlc
