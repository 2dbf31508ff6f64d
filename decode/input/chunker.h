// Cuts a capture into pieces that can be decoded independently: no packet lies across two.
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
  std::vector<std::uint8_t> bytes;  // its first `size` bytes are the chunk
  std::size_t size = 0;
  std::uint64_t lost_frames = 0;  // without end, given up before this chunk
  std::uint64_t lost_bytes = 0;   // with what no packet is made of

  [[nodiscard]] protocol::byte_view view() const { return {bytes.data(), size}; }
};

class chunker {
 public:
  /// Reads as much as it takes to recognise the capture.
  chunker(byte_source& from, std::size_t chunk_size);

  /// False at the end. `next.bytes` is used again.
  [[nodiscard]] bool next(chunk& next);

 private:
  [[nodiscard]] std::size_t end_of_last_packet(protocol::byte_view bytes) const;
  void drop_endless_frame(chunk& next);

  byte_source& from_;
  std::size_t chunk_size_;
  capture_kind kind_;
  std::vector<std::uint8_t> rest_;  // read, not yet given
  bool dropping_ = false;           // in a frame without end
  bool at_end_ = false;
};

}  // namespace decode
