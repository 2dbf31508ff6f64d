// Whatever comes, in whatever pieces: the same packets and losses as in one piece, and every packet
// framed again gives itself.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "protocol/hdlc.h"

namespace {

using packets = std::vector<std::vector<std::uint8_t>>;

packets take_apart(protocol::hdlc::deframer& in, protocol::byte_view stream, std::size_t piece) {
  packets found;
  while (!stream.empty()) {
    protocol::byte_view part = stream.first(std::min(piece, stream.size()));
    stream = stream.subspan(part.size());
    for (protocol::byte_view packet; in.next(part, packet);) {
      found.emplace_back(packet.begin(), packet.end());
    }
  }
  in.finish();
  return found;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::size_t piece = 1 + data[0] % 64U;
  const protocol::byte_view stream(data + 1, size - 1);
  protocol::hdlc::deframer whole;
  protocol::hdlc::deframer parts;
  const auto found = take_apart(whole, stream, SIZE_MAX);
  if (found != take_apart(parts, stream, piece)) __builtin_trap();
  if (whole.counts().skipped_bytes != parts.counts().skipped_bytes) __builtin_trap();
  std::vector<std::uint8_t> frames;
  for (const auto& packet : found) protocol::hdlc::append_frame(frames, packet);
  protocol::hdlc::append_frame(frames, stream);
  protocol::hdlc::deframer again;
  auto expected = found;
  if (!stream.empty() && stream.size() <= protocol::hdlc::max_packet_size) {
    expected.emplace_back(stream.begin(), stream.end());
  }
  if (take_apart(again, frames, piece) != expected) __builtin_trap();
  return 0;
}
