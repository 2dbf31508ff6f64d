#include <gtest/gtest.h>

#include "simulator/modem/modem.h"
#include "simulator/services/extension.h"
#include "support/extension_packets.h"
#include "support/temp_dir.h"

namespace {

using support::bytes;
using support::chunk_of;
using support::file_request;
using support::hex;
using support::item_request;
using support::nvefs_answer;
using support::operator+;

constexpr std::uint32_t ok = 0;
constexpr std::uint32_t not_found = 2;
constexpr std::uint32_t bad_argument = 22;
constexpr std::uint32_t too_large = 27;
constexpr std::uint32_t out_of_order = 29;

class nvefs : public testing::Test {
 protected:
  nvefs_answer ask_with(const bytes& tlvs, std::uint32_t client_port = 1) {
    const sim::client who{nullptr, {1, client_port}};
    const sim::reply said = sim::answer_extension({who, tlvs, modem_});
    EXPECT_EQ(said.result, protocol::qmi::error::none);
    return nvefs_answer(said.tlvs.view());
  }
  template <typename Request>
  nvefs_answer ask(const Request& request, std::uint32_t client_port = 1) {
    return ask_with(support::extension_tlvs(2, request.payload()), client_port);
  }
  /// The first result that is not 0.
  std::uint32_t write(const bytes& file, const std::string& path = "/f") {
    for (std::size_t at = 0; at < file.size(); at += 414) {
      const auto total = static_cast<std::uint32_t>(file.size());
      const auto answer = ask(file_request{.operation = 5,
                                           .path = path,
                                           .offset = static_cast<std::uint32_t>(at),
                                           .total = total,
                                           .data = chunk_of(file, at)});
      if (answer.result != ok) return answer.result;
    }
    return ok;
  }

  asio::io_context io_;
  support::temp_dir directory_;
  sim::modem modem_{io_, directory_.path()};
};

TEST_F(nvefs, requests_that_cannot_be_met_get_their_result) {
  struct row {
    bytes payload;
    std::uint32_t result;
  };
  const std::string longest(71, 'p');
  const bytes data = hex("aa");
  const row rows[] = {
      {item_request{.operation = 0}.payload(), bad_argument},
      {item_request{.operation = 7}.payload(), bad_argument},
      {item_request{.subscription = 2}.payload(), bad_argument},
      {item_request{.item = 7233}.payload(), bad_argument},
      {item_request{.item = 7000}.payload(), not_found},
      {item_request{.operation = 2}.payload(), bad_argument},
      {item_request{.operation = 2, .data = bytes(366)}.payload(), too_large},
      {item_request{.operation = 2, .item = 7233, .data = data}.payload(), bad_argument},
      {file_request{.path = ""}.payload(), bad_argument},
      {file_request{.path = longest, .path_length = 72}.payload(), bad_argument},
      {file_request{.path = longest}.payload(), not_found},
      {file_request{.subscription = 255}.payload(), bad_argument},
      {file_request{.path = "/nv/item_files/modem/norvel/ssr_update_count"}.payload(), not_found},
      {file_request{.operation = 6}.payload(), not_found},
      {file_request{.operation = 5, .data = data}.payload(), bad_argument},
      {file_request{.operation = 5, .total = 5}.payload(), bad_argument},
      {file_request{.operation = 5, .total = 102411, .data = data}.payload(), too_large},
      {file_request{.operation = 5, .offset = 1, .total = 2, .data = data}.payload(), out_of_order},
      {file_request{.operation = 5, .total = 1, .data = hex("aabb")}.payload(), out_of_order},
  };
  for (const row& each : rows) {
    const auto answer = ask_with(support::extension_tlvs(2, each.payload));
    EXPECT_EQ(answer.result, each.result) << "row " << &each - rows;
    EXPECT_EQ(answer.total, 0U);
    EXPECT_EQ(answer.data, bytes{});
  }
}

TEST_F(nvefs, short_requests_are_bad_arguments_wherever_they_end) {
  const bytes whole[] = {
      item_request{.operation = 2, .data = hex("aabb")}.payload(),
      file_request{.operation = 5, .total = 2, .data = hex("aabb")}.payload(),
  };
  for (const bytes& payload : whole) {
    for (std::size_t size = 0; size < payload.size(); ++size) {
      const auto length = static_cast<std::uint8_t>(size);
      const bytes tlvs = hex("01 0400 02000000  02 0400") + bytes{length, 0, 0, 0} + hex("10") +
                         bytes{length, 0} + bytes(payload.begin(), payload.begin() + length);
      EXPECT_EQ(ask_with(tlvs).result, bad_argument) << size;
    }
  }
}

TEST_F(nvefs, files_of_every_size_come_back_in_chunks_of_414) {
  for (const std::size_t size : {1U, 413U, 414U, 415U, 828U, 1000U, 102409U, 102410U}) {
    bytes file(size);
    for (std::size_t i = 0; i < size; ++i) file[i] = static_cast<std::uint8_t>(i * 7 + i / 414);
    ASSERT_EQ(write(file), ok) << size;
    bytes back;
    while (back.size() < size) {
      const auto chunk = ask(file_request{.offset = static_cast<std::uint32_t>(back.size())});
      ASSERT_EQ(chunk.result, ok);
      ASSERT_EQ(chunk.total, size);
      ASSERT_EQ(chunk.data, chunk_of(file, back.size()));
      back = back + chunk.data;
    }
    const auto last = static_cast<std::uint32_t>(size - 1);
    EXPECT_EQ(ask(file_request{.offset = last}).data, bytes{file.back()});
    EXPECT_EQ(ask(file_request{.offset = last + 1}).result, ok);
    EXPECT_EQ(ask(file_request{.offset = last + 2}).result, out_of_order);
    EXPECT_EQ(ask(file_request{.offset = 0xFFFFFFFF}).result, out_of_order);
  }
  EXPECT_EQ(ask(file_request{.subscription = 1}).result, not_found);
  EXPECT_EQ(ask(file_request{.operation = 6}).result, ok);
  EXPECT_EQ(ask(file_request{}).result, not_found);
}

TEST_F(nvefs, write_counts_only_when_complete_and_in_order) {
  ASSERT_EQ(write(bytes(500, 0x01)), ok);
  const file_request start{.operation = 5, .total = 600, .data = bytes(300, 0x02)};
  file_request end = start;
  end.offset = 300;
  const file_request wrong[] = {
      {.operation = 5, .offset = 299, .total = 600, .data = bytes(300)},
      {.operation = 5, .offset = 301, .total = 600, .data = bytes(299)},
      {.operation = 5, .offset = 300, .total = 600, .data = bytes(301)},
      {.operation = 5, .offset = 300, .total = 601, .data = bytes(301)},
      {.operation = 5, .path = "/g", .offset = 300, .total = 600, .data = bytes(300)},
      {.operation = 5, .offset = 300, .total = 600, .data = bytes(300), .subscription = 1},
  };
  for (const file_request& each : wrong) {
    EXPECT_EQ(ask(start).result, ok);
    EXPECT_EQ(ask(each).result, out_of_order);
    EXPECT_EQ(ask(end).result, out_of_order) << "the transfer has ended";
  }
  EXPECT_EQ(ask(start).result, ok);
  EXPECT_EQ(ask(end, 2).result, out_of_order) << "another client's";
  EXPECT_EQ(ask(file_request{}).data, bytes(414, 0x01));

  // Anew, over the pending one; and what another client reads meanwhile stays one file.
  EXPECT_EQ(ask(start).result, ok);
  EXPECT_EQ(ask(file_request{}, 2).total, 500U);
  EXPECT_EQ(ask(end).result, ok);
  EXPECT_EQ(ask(file_request{.offset = 414}, 2).data, bytes(86, 0x01));
  EXPECT_EQ(ask(file_request{.offset = 414}, 1).data, bytes(186, 0x02));

  EXPECT_EQ(ask(start).result, ok);
  modem_.transfers.drop({nullptr, {1, 1}});
  EXPECT_EQ(ask(end).result, out_of_order) << "the client had gone";
}

}  // namespace
