// The page of charts: its data as the page's script reads them, and that nothing in a capture
// becomes part of the page itself.
#include <nlohmann/json.hpp>

#include "decode/page/cells.h"
#include "decode/page/live/live_data.h"
#include "decode/page/live/record_clock.h"
#include "decode/page/series.h"
#include "support/decode_run.h"
#include "support/test.h"

namespace {

using namespace support;
using decode::page::series;

constexpr std::int64_t second = 1458770149;  // 2016-03-23T21:55:49Z

nlohmann::json data_of(const std::string& page) {
  const std::string before = R"(<script type="application/json" id="data">)";
  const auto from = page.find(before) + before.size();
  return nlohmann::json::parse(page.substr(from, page.find("</script>", from) - from));
}

using tvk_decode_page = with_captures;

TEST_F(tvk_decode_page, shows_what_the_records_say_and_nothing_as_markup) {
  bytes untimed = cell_info;  // from before the modem had the time
  std::fill_n(untimed.begin() + 8, 8, std::uint8_t{0});
  const bytes sip =
      ascii("INVITE sip:a SIP/2.0\r\nFrom: </script><script>x\r\n\r\nbody") + hex("00");
  const bytes log = u16(28 + sip.size()) + hex("6E15 BE0C0B9E34DDD400 01010000") + u16(sip.size()) +
                    u16(sip.size()) + hex("02000000 FF000000") + sip;
  // The RRC state is camped, then connected.
  const auto path =
      made("<img src=x>.qmdl",
           diag_frame(cell_info) + diag_frame(hex("60 0B00  4626 BE0C0A9E34DDD400 02")) +
               diag_frame(hex("60 0B00  4626 BE0C0B9E34DDD400 04")) +
               diag_frame(hex("1000") + slice(log, 0, 2) + log) + diag_frame(untimed));
  const auto got = run(TVK_DECODE_PROGRAM, {"-f", "html", path});
  ASSERT_EQ(got.exit_status, 0) << got.errors;
  EXPECT_PRED2(contains, got.output, "default-src 'none'; script-src 'sha256-");
  for (const char* wrong : {"<img", "<script>x", "@data@", "@page_js@", "@policy@"}) {
    EXPECT_FALSE(contains(got.output, wrong)) << wrong;
  }

  const auto data = data_of(got.output);
  EXPECT_EQ(data["inputs"][0], path);
  EXPECT_EQ(data["without_time"], 1);
  EXPECT_EQ(data["from"], 1458770149772);
  const auto& cell = data["cells"][0];
  EXPECT_EQ(cell["pci"], 289);
  EXPECT_EQ(cell["arfcn"], 976);
  EXPECT_EQ(cell["network"], "310-260");
  EXPECT_EQ(cell["bandwidth_MHz"], 5.0);
  EXPECT_EQ(
      data["states"][0]["spans"],
      nlohmann::json::parse("[[1458770149772, \"idle_camped\"], [1458770149773, \"connected\"]]"));
  const auto& marks = data["marks"];
  EXPECT_EQ(marks.back()["kind"], "SIP message");
  EXPECT_EQ(marks.back()["text"], "INVITE sip:a SIP/2.0\nFrom: </script><script>x");
}

TEST_F(tvk_decode_page, is_the_same_however_many_threads_and_chunks) {
  bytes repeated;
  for (int i = 0; i < 100; ++i) {
    repeated = repeated + ascii(read_file(TVK_SAMPLE_DIR "/sample.qmdl"));
  }
  const auto path = made("repeated.qmdl", repeated);
  const auto alone = run(TVK_DECODE_PROGRAM, {"-f", "html", "-j", "1", path});
  EXPECT_EQ(alone.exit_status, 0);
  EXPECT_EQ(data_of(alone.output)["cells"][0]["radio"], 1);
  for (const char* threads : {"2", "8"}) {
    EXPECT_TRUE(run(TVK_DECODE_PROGRAM, {"-f", "html", "-j", threads, path}).output == alone.output)
        << threads;
  }
}

TEST_F(tvk_decode_page, series_keep_least_greatest_mean_and_count_however_coarse) {
  series one(8);
  for (std::int64_t i = 999; i >= 0; --i) one.add(second * 1000 + i, static_cast<double>(i % 7));
  one.add(second * 1000 + 500'000, 100);
  EXPECT_LE(one.buckets().size(), 8U);
  std::uint64_t count = 0;
  double sum = 0;
  for (const auto& bucket : one.buckets()) {
    count += bucket.count;
    sum += bucket.sum;
  }
  EXPECT_EQ(count, 1001U);
  EXPECT_EQ(sum, 2997 + 100);  // 142 times 0 to 6, and 0 to 5
  EXPECT_EQ(one.buckets().front().least, 0);
  EXPECT_EQ(one.buckets().front().greatest, 6);
  EXPECT_EQ(one.buckets().back().mean(), 100);
  EXPECT_EQ(one.buckets().back().index, (second * 1000 + 500'000) / one.width());
}

TEST_F(tvk_decode_page, percentile_is_the_lowest_value_that_covers_the_share) {
  decode::page::distribution levels;
  for (int i = 20; i >= 1; --i) levels.add(-100 - i / 4.0);
  EXPECT_EQ(levels.percentile(5), -105);
  EXPECT_EQ(levels.percentile(50), -102.75);
  EXPECT_EQ(levels.percentile(95), -100.5);
  EXPECT_EQ(levels.count(), 20U);
}

TEST_F(tvk_decode_page, live_keeps_an_hour_and_starts_over_when_the_clock_is_set_back) {
  using namespace decode::page;
  record_clock clock;
  live_data data;
  const auto add = [&](std::int64_t minute, const char* text) {
    const auto time = 1'458'770'000'000 + minute * 60'000;
    const auto verdict = clock.judge(time);
    if (verdict == record_clock::verdict::strange) return;
    live_batch one{verdict == record_clock::verdict::set_back, time_window{time, time}, {}};
    one.seen.marks.push_back({time, 1, 0, text});
    data.add(one, {});
  };
  const auto shown = [&] {
    live_data::clock::time_point due;
    const auto text = live_data::follower(data).next(due);
    std::string found;
    for (const std::string one : {"early ", "later ", "newest ", "wrong ", "back "}) {
      if (contains(*text, one)) found += one;
    }
    return found;
  };
  add(0, "early ");
  add(30, "later ");
  add(65, "newest ");
  add(9, "wrong ");
  EXPECT_EQ(shown(), "later newest ");
  for (int i = 0; i < 10; ++i) add(10, "back ");
  EXPECT_EQ(shown(), "back ");
}

}  // namespace
