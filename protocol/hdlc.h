// The framing of a DIAG byte stream: escape(packet | CRC-16/X.25, low byte first) | 7E, where 7D
// announces a byte that was XORed with 20. Both directions; the CRC bytes are escaped like others.
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
/// Every byte of a packet and its CRC escaped, and the terminator.
constexpr std::size_t max_frame_size = 2 * (max_packet_size + 2) + 1;

/// CRC-16/X.25: 906E for "123456789".
[[nodiscard]] std::uint16_t crc16(byte_view bytes);
/// The same without special instructions of the CPU.
[[nodiscard]] std::uint16_t crc16_by_tables(byte_view bytes);

/// Appends the frame of `packet`.
void append_frame(std::vector<std::uint8_t>& out, byte_view packet);

/// What a deframer met so far.
struct frame_counts {
  std::uint64_t good = 0;
  std::uint64_t bad_crc = 0;        // or an escape with nothing behind it
  std::uint64_t too_short = 0;      // fewer than 3 bytes in a frame, or no end of it
  std::uint64_t too_long = 0;       // longer than max_frame_size: dropped up to its terminator
  std::uint64_t skipped_bytes = 0;  // wire bytes of all frames that are not good
};

/// Takes the packets out of a stream that comes in any pieces; holds at most one frame. Empty
/// frames are no faults and are not counted.
class deframer {
 public:
  /// Consumes from the front of `bytes` up to the end of the next good frame and sets `packet` to
  /// its packet, without CRC; false when `bytes` is used up first. `packet` lies in `bytes` or in
  /// the deframer, and is good until the next call.
  [[nodiscard]] bool next(byte_view& bytes, byte_view& packet);

  /// The end of the stream: an unfinished frame is counted as lost.
  void finish();

  [[nodiscard]] const frame_counts& counts() const { return counts_; }

 private:
  /// Sets `packet` from a frame without its terminator; false and counted when it is not good.
  bool open(byte_view frame, byte_view& packet);
  void lose(std::uint64_t& reason, std::size_t wire_bytes);

  std::vector<std::uint8_t> unfinished_;  // escaped bytes of a frame that began in an earlier piece
  std::vector<std::uint8_t> frame_;       // the last frame, when it had to be joined or unescaped
  bool dropping_ = false;                 // inside a frame that is too long
  frame_counts counts_;
};

}  // namespace protocol::hdlc
