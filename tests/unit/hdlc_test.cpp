// Frames of the DIAG byte stream, whole and in pieces, good and bad.
#include "protocol/hdlc.h"

#include <algorithm>
#include <random>
#include <tuple>

#include "support/diag_frame.h"
#include "support/test.h"

namespace {

using protocol::byte_view;
using protocol::hdlc::append_frame;
using protocol::hdlc::deframer;
using namespace support;

/// The packets of a stream that comes in pieces of `piece` bytes.
std::vector<bytes> packets_of(deframer& in, byte_view stream, std::size_t piece = SIZE_MAX) {
  std::vector<bytes> packets;
  while (!stream.empty()) {
    // A copy of the exact size: a sanitizer sees a step outside.
    const auto front = stream.first(std::min(piece, stream.size()));
    const bytes part(front.begin(), front.end());
    stream = stream.subspan(part.size());
    byte_view rest = part;
    for (byte_view packet; in.next(rest, packet);) {
      packets.emplace_back(packet.begin(), packet.end());
    }
  }
  return packets;
}

TEST(hdlc, published_frames_both_ways) {
  const std::pair<const char*, const char*> cases[] = {
      {"00", "00 78 F0 7E"},
      {"1C", "1C 95 2A 7E"},
      {"7D 05 00 00 00 00 00 00", "7D 5D 05 00 00 00 00 00 00 74 41 7E"},
      {"4B 12 51 00", "4B 12 51 00 7D 5E D0 7E"},
      {"4B 12 04 00", "4B 12 04 00 31 7D 5D 7E"},
  };
  for (const auto& [packet, frame] : cases) {
    bytes made;
    append_frame(made, hex(packet));
    EXPECT_EQ(made, hex(frame)) << packet;
    deframer in;
    EXPECT_EQ(packets_of(in, hex(frame)), std::vector<bytes>{hex(packet)}) << frame;
  }
}

TEST(hdlc, crc_is_the_same_however_it_is_computed) {
  EXPECT_EQ(protocol::hdlc::crc16(hex("31 32 33 34 35 36 37 38 39")), 0x906E);
  std::mt19937 random(1);
  bytes packet;
  for (std::size_t size = 0; size < 400; ++size) {
    const auto expected = support::diag_crc(packet);
    EXPECT_EQ(protocol::hdlc::crc16(packet), expected) << size;
    EXPECT_EQ(protocol::hdlc::crc16_by_tables(packet), expected) << size;
    packet.push_back(static_cast<std::uint8_t>(random()));
  }
}

TEST(hdlc, round_trip_in_pieces_of_every_size) {
  std::mt19937 random(2);
  std::vector<bytes> packets{bytes(70, 0x7E), bytes(70, 0x7D), hex("7D"), hex("5E 7E 7D 5D")};
  for (std::size_t size = 1; size < 90; ++size) {
    bytes packet(size);
    for (auto& byte : packet) byte = static_cast<std::uint8_t>(random() % 4 == 0 ? 0x7D : random());
    packets.push_back(packet);
  }
  packets.emplace_back(protocol::hdlc::max_packet_size, 0x7E);
  bytes stream;
  for (const auto& packet : packets) append_frame(stream, packet);
  for (std::size_t piece = 1; piece < 150; ++piece) {
    deframer in;
    ASSERT_EQ(packets_of(in, stream, piece), packets) << piece;
    ASSERT_EQ(in.counts().good, packets.size());
    ASSERT_EQ(in.counts().skipped_bytes, 0U);
  }
}

TEST(hdlc, bad_frames_are_counted_and_the_next_good_one_is_found) {
  const bytes good = hex("1C 95 2A 7E");
  const bytes endless(protocol::hdlc::max_frame_size, 0x11);
  using counts = protocol::hdlc::frame_counts;
  const std::pair<bytes, counts> cases[] = {
      {hex("7E 7E"), {}},  // empty frames
      {hex("1D 95 2A 7E"), {.bad_crc = 1, .skipped_bytes = 4}},
      {hex("95 7D 0A 7E"), {.too_short = 1, .skipped_bytes = 4}},  // two bytes, one of them escaped
      {hex("1C 95 2A 7D 7E"), {.bad_crc = 1, .skipped_bytes = 5}},  // an escape before the end
      {endless + hex("7E"), {.too_long = 1, .skipped_bytes = endless.size() + 1}},
  };
  const auto listed = [](const counts& of) {
    return std::tuple(of.bad_crc, of.too_short, of.too_long, of.skipped_bytes);
  };
  for (const auto& [stream, expected] : cases) {
    for (const std::size_t piece : {1U, 3U, 4096U, 1U << 20}) {
      SCOPED_TRACE(std::to_string(stream.size()) + " bytes in pieces of " + std::to_string(piece));
      deframer in;
      EXPECT_EQ(packets_of(in, stream + good, piece), std::vector<bytes>{hex("1C")});
      EXPECT_EQ(listed(in.counts()), listed(expected));
    }
  }
  for (const bytes& unfinished : {hex("1C 95 2A"), endless}) {
    deframer in;
    EXPECT_TRUE(packets_of(in, unfinished).empty());
    in.finish();
    EXPECT_EQ(in.counts().skipped_bytes, unfinished.size());
    EXPECT_EQ(packets_of(in, good), std::vector<bytes>{hex("1C")});
  }
}

}  // namespace
