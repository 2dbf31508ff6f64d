#include "protocol/log_packet.h"

#include <optional>

#include "support/test.h"

namespace {

namespace diag = protocol::diag;
using namespace support;

constexpr const char* attempt =  // of 2016-03-23 21:55:49.316192 UTC
    "10 00 3800 3800 62B0 28B79C9C34DDD400"
    "01010000 06022800 01000107 02FF92FF 00000159 2305004C C0000009 00072006"
    "1F5FD83C 87340600 9FFFFFFF";

TEST(log_packet, time_stamps_are_utc) {
  EXPECT_EQ(diag::to_unix_microseconds(0x00D4DD349E0A0CBE), 1458770149772582);
  EXPECT_EQ(diag::to_unix_microseconds(0x00D10E4FF6AB0096), 1438325157973753);
  EXPECT_EQ(diag::to_unix_microseconds(0), 315964800000000);
  // 1250 us and 312 us more, of which 12268.3 parts are cut; and what no stamp can say.
  EXPECT_EQ(diag::from_unix_microseconds(315964800'001562), 0x12FECU);
  EXPECT_EQ(diag::from_unix_microseconds(0), 0U);
}

TEST(log_packet, reads_and_builds_a_captured_packet) {
  const bytes packet = hex(attempt);
  const auto log = diag::parse_log(packet);
  ASSERT_TRUE(log);
  EXPECT_EQ(log->code, 0xB062);
  EXPECT_EQ(diag::to_unix_microseconds(log->time), 1458770149316192);
  EXPECT_EQ(log->payload.size(), 44U);
  EXPECT_EQ(diag::build_log(*log), packet);

  EXPECT_FALSE(diag::parse_log(packet + hex("00")));
  bytes inner_differs = packet;
  inner_differs[4] = 0x37;
  EXPECT_FALSE(diag::parse_log(inner_differs));
  EXPECT_FALSE(diag::parse_log(hex("10 00 0B00 0B00 62B0 00*7")));
  EXPECT_FALSE(diag::parse_log({}));
}

TEST(log_packet, wrapper_names_the_radio) {
  const struct {
    const char* packet;
    std::optional<std::uint32_t> radio;
    const char* inner;
  } rows[] = {{"98 01 0000 02000000 10 22", 2, "1022"}, {"98 01 0000 00000000 10", 1, "10"},
              {"98 01 0000 FFFFFFFF 10", 1, "10"},      {"10 22", 1, "1022"},
              {"98 01 0000 01000000", {}, ""},          {"98 01", {}, ""}};
  for (const auto& [packet, radio, inner] : rows) {
    const bytes wrapped = hex(packet);
    const auto found = diag::unwrap_radio(wrapped);
    EXPECT_EQ(found ? std::optional(found->radio) : std::nullopt, radio) << packet;
    EXPECT_EQ(found ? digits_of(found->packet) : "", inner) << packet;
  }
}

TEST(event_report, gives_what_is_whole_of_a_damaged_one) {
  const std::pair<const char*, std::size_t> rows[] = {
      {"60 0400 4686 0100", 0},                         // nothing full
      {"60 0D00 4606 BE0C0A9E34DDD400 4666 00", 1},     // cut time
      {"60 0E00 4606 BE0C0A9E34DDD400", 1},             // too few
      {"60 0900 4606 BE0C0A9E34DDD400", 0},             // too many, within the event
      {"60 0A00 4606 BE0C0A9E34DDD400 00", 1},          // too many, after it
      {"60 0E00 4606 BE0C0A9E34DDD400 46A6 0100", 1}};  // no payload
  for (const auto& [report, whole] : rows) {
    const bytes content = hex(report);
    diag::event_reader reader(content);
    std::size_t events = 0;
    while (reader.next()) ++events;
    EXPECT_EQ(events, whole) << report;
    EXPECT_TRUE(reader.damaged()) << report;
  }
}

TEST(event_report, form_follows_the_payload) {
  const auto built = [](const bytes& payload) {
    return diag::build_event_report({.id = 1606, .time = 0x00D4DD349E0A0CBE, .payload = payload});
  };
  EXPECT_EQ(built({}), hex("60 0A00 4606 BE0C0A9E34DDD400"));
  EXPECT_EQ(built(hex("02")), hex("60 0B00 4626 BE0C0A9E34DDD400 02"));
  EXPECT_EQ(built(hex("0203")), hex("60 0C00 4646 BE0C0A9E34DDD400 0203"));
  EXPECT_EQ(built(hex("020304")), hex("60 0E00 4666 BE0C0A9E34DDD400 03 020304"));
}

}  // namespace
