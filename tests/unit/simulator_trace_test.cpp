#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "simulator/services/services.h"
#include "simulator/trace.h"

namespace {

using bytes = std::vector<std::uint8_t>;

/// The lines without their times.
std::string traced(const bytes& datagram, sim::trace::direction way,
                   std::uint32_t service = 0xFFE4) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* const out = ::open_memstream(&text, &size);
  const sim::client who{nullptr, {1, 16384}};
  const auto row = std::ranges::find(sim::all_services(), service, &sim::service_row::id);
  sim::trace(out, sim::all_services()).message(way, who, *row, datagram);
  std::fclose(out);
  std::string lines(text, size);
  std::free(text);
  return lines.substr(lines.find("1:16384"));
}

TEST(trace, tells_standard_responses_and_broken_ones) {
  EXPECT_EQ(
      traced({2, 7, 0, 0x99, 0, 7, 0, 2, 4, 0, 1, 0, 71, 0}, sim::trace::direction::from_modem),
      "1:16384 <- extension  response    message 0x0099 ?, transaction 7, 7 TLV bytes\n"
      "            0x02 standard response     4  failure, error 71\n");
  EXPECT_EQ(
      traced({2, 7, 0, 2, 0, 4, 0, 2, 4, 0, 1}, sim::trace::direction::from_modem),
      "1:16384 <- extension  response    message 0x0002 exchange, transaction 7, 4 TLV bytes\n"
      "            malformed  02 04 00 01\n");
  EXPECT_EQ(traced({0, 7, 0, 2}, sim::trace::direction::to_modem),
            "1:16384 -> extension  malformed, 4 bytes\n"
            "            00 07 00 02\n");
}

TEST(trace, shows_bytes_as_bytes_also_where_they_are_as_many_as_a_number_has) {
  constexpr std::uint32_t uim = 0x0B;
  EXPECT_EQ(
      traced(
          {0, 7, 0, 0x42, 0, 15, 0, 1, 1, 0, 2, 0x10, 8, 0, 7, 0xA0, 0, 0, 0x05, 0x59, 0x10, 0x10},
          sim::trace::direction::to_modem, uim),
      "1:16384 -> uim        request     message 0x0042 open logical channel, transaction 7, 15 "
      "TLV bytes\n"
      "            0x01 slot                  1  2 (0x02)\n"
      "            0x10 AID                   8  07 a0 00 00 05 59 10 10\n");
  EXPECT_EQ(
      traced({2, 7, 0, 0x42, 0, 16, 0, 2, 4, 0, 0, 0, 0, 0, 0x10, 1, 0, 1, 0x11, 2, 0, 0x90, 0},
             sim::trace::direction::from_modem, uim),
      "1:16384 <- uim        response    message 0x0042 open logical channel, transaction 7, 16 "
      "TLV bytes\n"
      "            0x02 standard response     4  success\n"
      "            0x10 channel               1  1 (0x01)\n"
      "            0x11 card result           2  90 00\n");
}

TEST(trace, counts_zeros_where_there_are_many) {
  EXPECT_EQ(sim::describe_value({}), "empty");
  EXPECT_EQ(sim::describe_value(bytes{0, 0, 0, 0, 0, 0, 0, 0x80}),
            "9223372036854775808 (0x8000000000000000)");
  EXPECT_EQ(sim::describe_value(bytes{1, 0, 0, 0, 0}), "01 ... 4 zero bytes");
  EXPECT_EQ(sim::describe_value(bytes(512)), "512 zero bytes");
}

}  // namespace
