#include "decode/input/capture_kind.h"

#include <algorithm>

#include "decode/input/unframed.h"
#include "protocol/hdlc.h"

namespace decode {

namespace {

using protocol::byte_view;
using protocol::load_le;

/// After this many consecutive packets, an unframed kind is certain.
constexpr int enough_packets = 16;

/// How many pieces to try as frames: a capture may begin in the middle of one or with damage.
constexpr int enough_pieces = 64;

/// One is not enough: one in 65,536 pieces of any data has a good checksum by chance.
constexpr int enough_frames = 2;

/// The length of a .qmdl2 header, or 0 if there is none: u32 length, u8 version 2, u8 data type,
/// u32 g, g GUIDs of 16 bytes, u32 d, d entries of 47 bytes.
std::size_t qmdl2_header(byte_view front) {
  constexpr std::size_t guids_at = 10;
  constexpr std::size_t guid_size = 16;
  constexpr std::size_t entry_size = 47;
  if (front.size() < guids_at || front[4] != 2) return 0;
  const std::uint64_t entries_at = guids_at + guid_size * load_le<std::uint32_t>(front.subspan(6));
  if (entries_at + 4 > front.size()) return 0;
  const std::uint64_t entries = load_le<std::uint32_t>(front.subspan(entries_at));
  const std::uint64_t header = entries_at + 4 + entry_size * entries;
  return header == load_le<std::uint32_t>(front) && header <= front.size() ? header : 0;
}

/// The number of consecutive unframed packets at the start, up to enough_packets. A single one that
/// something else follows is a coincidence.
int packets_in_chain(byte_view front, std::size_t prefix) {
  int packets = 0;
  std::uint64_t skipped = 0;
  while (packets < enough_packets && next_unframed(front, prefix, skipped) && skipped == 0) {
    ++packets;
  }
  return packets == 1 && !front.empty() ? 0 : packets;
}

int good_frames(byte_view front) {
  protocol::hdlc::deframer frames;
  byte_view packet;
  int good = 0;
  for (int i = 0; i < enough_pieces && !front.empty(); ++i) {
    const auto end = std::ranges::find(front, protocol::hdlc::terminator);
    auto piece =
        front.first(static_cast<std::size_t>(end - front.begin()) + (end == front.end() ? 0U : 1U));
    front = front.subspan(piece.size());
    if (frames.next(piece, packet)) ++good;
  }
  return good;
}

}  // namespace

// Frames are tried first: their first bytes quite often look like a chain of unframed packets, and
// a frame without escapes begins like a bare packet.
recognised recognise(byte_view front) {
  if (const auto header = qmdl2_header(front); header != 0) return {capture_kind::hdlc, header};
  const int frames = good_frames(front);
  if (frames >= enough_frames) return {};
  if (packets_in_chain(front, bare_prefix) > frames) return {capture_kind::bare};
  if (packets_in_chain(front, logs_prefix) > frames) return {capture_kind::logs};
  return {};
}

}  // namespace decode
