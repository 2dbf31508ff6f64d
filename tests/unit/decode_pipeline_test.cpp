// Captures in memory through the pipeline: damage, ends and threads.
#include "decode/output/time_text.h"
#include "decode/summary/report.h"
#include "support/decode_in_memory.h"
#include "support/decode_run.h"

namespace {

using namespace support;

struct decoded {
  std::string records;
  decode::summary counts;
};

decoded decode_all(const bytes& capture, unsigned threads = 1) {
  const auto [lines, counts] =
      written([](auto& to) { return decode::json_lines_store(to, false); }, capture, threads);
  return {records_in(lines), counts};
}

bytes rrc_state(std::uint8_t state) {
  return diag_frame(hex("60 0B00 4626 BE0C0A9E34DDD400") + bytes{state});
}

bytes many(const bytes& one, std::size_t times) {
  bytes all;
  for (std::size_t i = 0; i < times; ++i) all.insert(all.end(), one.begin(), one.end());
  return all;
}

/// Something that is no packet and takes more than a chunk.
bytes junk(std::size_t size) {
  bytes made(size);
  std::uint32_t state = 1;
  for (auto& byte : made) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<std::uint8_t>(state >> 24);
  }
  return made;
}

TEST(pipeline, a_capture_cut_anywhere_gives_its_whole_frames) {
  const bytes frame = voice_frame(3);
  const bytes capture = many(frame, 4);
  for (std::size_t size = 2 * frame.size(); size <= capture.size(); ++size) {
    const auto got = decode_all({capture.begin(), capture.begin() + static_cast<long>(size)});
    const auto whole = size / frame.size();
    EXPECT_EQ(got.counts.frames, whole) << size;
    EXPECT_EQ(got.counts.records[136], whole) << size;
    EXPECT_EQ(got.counts.skipped_bytes, size % frame.size()) << size;
    EXPECT_EQ(got.counts.has_rejections(), size % frame.size() != 0) << size;
  }
}

TEST(pipeline, one_damaged_byte_loses_its_frame_only) {
  const bytes frame = voice_frame(3);
  const bytes next = voice_frame(2);
  for (std::size_t at = 0; at < frame.size(); ++at) {
    bytes damaged = frame;
    damaged[at] ^= 0x01;
    const auto got = decode_all(voice_frame(1) + damaged + next + next);
    // Without its terminator it takes the next one with it.
    const bool joined = at + 1 == frame.size();
    EXPECT_EQ(got.records, voice_line(1) + voice_line(2) + (joined ? "" : voice_line(2))) << at;
    EXPECT_EQ(got.counts.bad_crc, 1U) << at;
    EXPECT_EQ(got.counts.skipped_bytes, frame.size() + (joined ? next.size() : 0)) << at;
  }
}

TEST(pipeline, other_bytes_and_endless_frames_are_passed_over_and_counted) {
  const bytes frame = voice_frame(3);
  const bytes half = many(frame, 2000);
  auto got = decode_all(half + junk(1 << 20) + hex("7E") + half);
  EXPECT_EQ(got.counts.frames, 4000U);
  EXPECT_GT(got.counts.bad_crc, 1000U);
  EXPECT_GE(got.counts.skipped_bytes, (1U << 20) - 8192U);  // empty frames are not counted
  EXPECT_LE(got.counts.skipped_bytes, (1U << 20) + 1U);

  for (const std::size_t size : {33'000U, 65'536U, 3'000'000U}) {
    got = decode_all(half + bytes(size, 0x01) + hex("7E") + half, 2);
    EXPECT_EQ(got.counts.frames, 4000U) << size;
    EXPECT_EQ(got.counts.too_long, 1U) << size;
    EXPECT_EQ(got.counts.skipped_bytes, size + 1) << size;
  }
  got = decode_all(half + bytes(3'000'000, 0x01));
  EXPECT_EQ(got.counts.frames, 2000U);
  EXPECT_EQ(got.counts.skipped_bytes, 3'000'000U);
}

TEST(pipeline, packets_without_frames_are_found_again) {
  const auto inner = [](const bytes& bare) { return slice(bare, 4); };
  for (const auto& [one, two] :
       {std::pair(voice, cell_info), std::pair(inner(voice), inner(cell_info))}) {
    const bytes half = many(one + two + two, 1500);
    const auto got = decode_all(half + junk(1 << 20) + half);
    // What looks like headers among the other bytes may take packets behind them with it.
    EXPECT_GE(got.counts.records[136], 2900U);
    EXPECT_GE(got.counts.records[129], 5800U);
    EXPECT_GE(got.counts.skipped_bytes, 900'000U);
    const auto cut = decode_all(half + bytes(one.begin(), one.end() - 1));
    EXPECT_EQ(cut.counts.frames, 4500U);
    EXPECT_EQ(cut.counts.skipped_bytes, one.size() - 1);
  }
}

// Record 127 is made where a connection comes up: the state before may be chunks away.
TEST(pipeline, threads_give_what_one_thread_gives) {
  const bytes filler = many(voice_frame(3), 2000);  // more than a chunk
  bytes capture;
  for (int i = 0; i < 10; ++i) {
    capture = capture + rrc_state(2) + filler + rrc_state(4) + filler + filler + rrc_state(4);
  }
  const auto alone = decode_all(capture);
  EXPECT_EQ(alone.counts.records[5], 30U);
  EXPECT_EQ(alone.counts.records[127], 10U);
  EXPECT_EQ(alone.counts.records[136], 60'000U);
  for (const unsigned threads : {2U, 4U, 8U}) {
    const auto got = decode_all(capture, threads);
    EXPECT_TRUE(got.records == alone.records) << threads;
    EXPECT_EQ(decode::to_text(got.counts, 0), decode::to_text(alone.counts, 0)) << threads;
  }
}

// Bytes that are no version could be any number of them.
TEST(pipeline, summary_has_a_row_for_the_lowest_versions_of_a_packet_only) {
  bytes capture;
  for (int version = 255; version >= 0; --version) {
    auto one = voice;
    one[16] = static_cast<std::uint8_t>(version);
    capture = capture + many(diag_frame(one), 100);
  }
  const auto alone = decode_all(capture);
  const auto text = decode::to_text(alone.counts, 0);
  for (const char* line :
       {"\n0x1568 ims_rtp_sn_and_payload version 0: 100 version not supported\n",
        "\n0x1568 ims_rtp_sn_and_payload version 13: 100 decoded\n",
        "\n0x1568 ims_rtp_sn_and_payload version 15: 100 version not supported\n"
        "0x1568 ims_rtp_sn_and_payload other versions: 24000 version not supported\n"}) {
    EXPECT_PRED2(contains, text, line);
  }
  EXPECT_EQ(text.find("version 16"), std::string::npos);
  EXPECT_TRUE(alone.counts.has_rejections());
  EXPECT_EQ(decode::to_text(decode_all(capture, 4).counts, 0), text);
}

TEST(times, as_text_and_back) {
  EXPECT_EQ(decode::time_text(1458770149772582), "2016-03-23T21:55:49.772582Z");
  EXPECT_EQ(decode::time_text(0), "1970-01-01T00:00:00.000000Z");
  EXPECT_EQ(decode::time_text(INT64_C(351843720888320000)), "9999-12-31T23:59:59.999999Z");
  EXPECT_EQ(decode::parse_time("2016-03-23T21:55:49.772582Z"), 1458770149772582);
  EXPECT_EQ(decode::parse_time("2016-03-23 21:55"), 1458770100000000);
  EXPECT_EQ(decode::parse_time("2016-02-29"), 1456704000000000);
  for (const char* bad : {"", "2016", "2015-02-29", "2016-03-23T24:00", "2016-03-23x",
                          "2016-03-23T21:55:49.", "2016-03-23T21:55:49.1234567", "-016-03-23"}) {
    EXPECT_EQ(decode::parse_time(bad), std::nullopt) << bad;
  }
}

}  // namespace
