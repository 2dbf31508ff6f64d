// Cuts a capture into chunks that can be decoded independently: no packet spans two of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "decode/input/byte_source.h"
#include "decode/input/capture_kind.h"
#include "protocol/bytes.h"

namespace decode {

struct chunk {
  capture_kind kind = capture_kind::hdlc;
  std::vector<std::uint8_t> bytes;  // the chunk is the first `size` bytes
  std::size_t size = 0;
  std::uint64_t lost_frames = 0;  // endless frames dropped before this chunk
  std::uint64_t lost_bytes = 0;   // bytes dropped before this chunk

  [[nodiscard]] protocol::byte_view view() const { return {bytes.data(), size}; }
};

class chunker {
 public:
  /// Reads enough to recognise the kind of capture.
  chunker(byte_source& from, std::size_t chunk_size);

  /// False at the end. The memory of `next.bytes` is reused.
  [[nodiscard]] bool next(chunk& next);

 private:
  [[nodiscard]] std::size_t end_of_last_packet(protocol::byte_view bytes) const;
  void drop_endless_frame(chunk& next);

  byte_source& from_;
  std::size_t chunk_size_;
  capture_kind kind_;
  std::vector<std::uint8_t> rest_;  // read, but not returned yet
  bool dropping_ = false;           // in an endless frame
  bool at_end_ = false;
};

}  // namespace decode
