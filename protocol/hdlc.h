// The framing of a DIAG byte stream, in both directions: escape(packet | CRC-16/X.25, low byte
// first) | 7E. An escaped byte is 7D followed by the byte XOR 20; CRC bytes are escaped as well.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "protocol/bytes.h"

namespace protocol::hdlc {

constexpr std::uint8_t terminator = 0x7E;
constexpr std::uint8_t escape = 0x7D;
constexpr std::uint8_t escape_xor = 0x20;

constexpr std::size_t max_packet_size = 16384;
/// When every byte of the packet and its CRC is escaped.
constexpr std::size_t max_frame_size = 2 * (max_packet_size + 2) + 1;

/// CRC-16/X.25: 906E for "123456789".
[[nodiscard]] std::uint16_t crc16(byte_view bytes);
/// The same without special CPU instructions.
[[nodiscard]] std::uint16_t crc16_by_tables(byte_view bytes);

/// Appends `packet` as a frame.
void append_frame(std::vector<std::uint8_t>& out, byte_view packet);

/// Counts of the frames seen so far.
struct frame_counts {
  std::uint64_t good = 0;
  std::uint64_t bad_crc = 0;        // wrong CRC, or an escape at the very end
  std::uint64_t too_short = 0;      // fewer than 3 bytes
  std::uint64_t too_long = 0;       // longer than max_frame_size: dropped up to its terminator
  std::uint64_t unfinished = 0;     // no terminator at the end of the stream
  std::uint64_t skipped_bytes = 0;  // wire bytes of all bad frames
};

/// Extracts the packets from a stream that arrives in arbitrary pieces; buffers at most one frame.
/// Empty frames are legal and not counted.
class deframer {
 public:
  /// Consumes `bytes` up to the end of the next good frame and sets `packet` to its packet, without
  /// CRC; false when `bytes` is used up first. `packet` points into `bytes` or the deframer, and is
  /// valid until the next call.
  [[nodiscard]] bool next(byte_view& bytes, byte_view& packet);

  /// To be called at the end of the stream: counts an unfinished frame as bad.
  void finish();

  [[nodiscard]] const frame_counts& counts() const { return counts_; }

 private:
  /// Sets `packet` from a frame without its terminator. Counts a bad frame and returns false.
  bool open(byte_view frame, byte_view& packet);
  void lose(std::uint64_t& reason, std::size_t wire_bytes);

  std::vector<std::uint8_t> unfinished_;  // escaped bytes of a frame begun in an earlier piece
  std::vector<std::uint8_t> frame_;       // the last frame, if it had to be joined or unescaped
  bool dropping_ = false;                 // inside an overlong frame
  frame_counts counts_;
};

}  // namespace protocol::hdlc
