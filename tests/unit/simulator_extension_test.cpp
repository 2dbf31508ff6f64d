// The extension service, request by request: echoes, common messages, NV items and EFS files.
#include <filesystem>

#include "simulator/modem/modem.h"
#include "simulator/services/messages.h"
#include "support/extension_packets.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

class extension_service : public testing::Test {
 protected:
  bytes ask(const bytes& tlvs, std::uint32_t client_port = 1) {
    const sim::client who{nullptr, {1, client_port}};
    const sim::reply said = sim::extension_messages()[0].answer({who, tlvs, modem_});
    restarts_ = said.restart;
    return said.tlvs.view();
  }

  support::temp_dir directory_;
  asio::io_context io_;
  sim::modem modem_{io_, directory_.path()};
  bool restarts_ = false;  ///< what was asked last
};

TEST_F(extension_service, echoes_the_bytes_that_count) {
  const bytes counted = hex("02 0400 03000000  10 0002 112233");
  for (const char* type : {"00", "01", "03", "05"}) {
    EXPECT_EQ(ask(hex("01 0400") + hex(type) + fill(3) + counted + hex("44") + fill(508)),
              hex("01 0400 00000000") + counted + fill(509));
  }
  // Order is free; a shorter payload and an unknown optional TLV are accepted.
  EXPECT_EQ(ask(hex("10 0200 5566  11 0100 09  02 0400 02000000  01 0400 00000000")),
            hex("01 0400 00000000  02 0400 02000000  10 0002 5566") + fill(510));
  const bytes full = hex("02 0400 00020000  10 0002") + bytes(512, 0xAB);
  EXPECT_EQ(ask(hex("01 0400 05000000") + full), hex("01 0400 00000000") + full);
}

TEST_F(extension_service, refuses_what_does_not_fit_the_layout) {
  const struct {
    const char* tlvs;
    const char* error;
  } rows[] = {
      {"", "1100"},
      {"01 0400 00000000", "1100"},
      {"02 0400 00000000", "1100"},
      {"01 0300 000000  02 0400 00000000", "0100"},
      {"01 0400 00000000  02 0400 00000000  03 0000", "0100"},
      {"01 0400 00000000  02 0400 00000000  10 0102 00*513", "0100"},
      {"01 0400 00000000  02 0400 01000000", "3000"},
      {"01 0400 00000000  02 0400 01020000  10 0002 00*512", "3000"},
  };
  for (const auto& [tlvs, error] : rows) {
    EXPECT_EQ(ask(hex(tlvs)), hex("02 0400 0100") + hex(error)) << tlvs;
  }
  // Unknown types, and common requests that are too short or of an unknown kind.
  const bytes sync = hex("10 1000 02000000 00000000 23000000 00000000");
  for (const bytes& nothing_there :
       {hex("01 0400 06000000  02 0400 00000000"), hex("01 0400 04000000  02 0400 0f000000") + sync,
        hex("01 0400 04000000  02 0400 04000000  10 0400 03000000")}) {
    EXPECT_EQ(ask(nothing_there), hex("01 0400 03000000  02 0400 00000000"));
  }
  EXPECT_EQ(modem_.store.counter("common.35"), 0);
  ask(hex("01 0400 04000000  02 0400 10000000") + sync);
  EXPECT_EQ(modem_.store.counter("common.35"), 1);
}

class common_request : public extension_service {
 protected:
  /// What the payload begins with; the rest are zeros.
  void expect(const bytes& request, bytes begins) {
    begins.resize(512);
    EXPECT_EQ(ask(extension_tlvs(4, request)),
              hex("01 0400 00000000  02 0400 fc010000  10 0002") + begins);
  }
  void expect_value(std::uint32_t number, const bytes& arguments, std::uint32_t value) {
    expect(common_message(number, arguments), u32(number) + u32(0) + u32(value) + u32(4));
  }
  void expect_result(std::uint32_t number, const bytes& arguments, std::uint32_t result) {
    expect(common_message(number, arguments), u32(number) + u32(result));
  }
  /// Any, slot 0, slot 1, how many.
  bytes cards() {
    bytes seen;
    for (const bytes& query : {common_message(39), common_message(55, u32(0)),
                               common_message(55, u32(1)), common_message(56)}) {
      seen.push_back(ask(extension_tlvs(4, query)).at(25));
    }
    return seen;
  }
};

TEST_F(common_request, card_queries_show_what_was_set) {
  const struct {
    std::uint32_t slot, mode, level;
    bytes seen;
  } rows[] = {
      {1, 0, 0, {1, 1, 0, 1}}, {0, 1, 0, {0, 0, 0, 0}}, {0, 0, 1, {1, 1, 0, 1}},
      {1, 1, 1, {1, 1, 1, 2}}, {1, 1, 0, {1, 1, 0, 1}},
  };
  EXPECT_EQ(cards(), (bytes{1, 1, 1, 2}));
  for (const auto& [slot, mode, level, seen] : rows) {
    expect_result(57, u32(slot) + u32(mode) + u32(level), 0);
    EXPECT_EQ(cards(), seen);
  }
  expect_value(56, {}, 1);
  for (const bytes& wrong : {u32(2) + u32(0) + u32(0), u32(0) + u32(2) + u32(0),
                             u32(0) + u32(0) + u32(2), u32(0) + u32(0)}) {
    expect_result(57, wrong, 22);
  }
  expect_result(55, u32(2), 22);
  expect_result(55, {}, 22);
  // A length beyond the payload.
  expect(u32(2) + u32(0) + u32(55) + u32(497), u32(55) + u32(22));
  EXPECT_EQ(cards(), (bytes{1, 1, 0, 1}));
}

TEST_F(common_request, hot_swap_toggles_the_card_of_slot_0) {
  const auto start = [](std::uint32_t push, std::uint32_t pull, std::uint32_t count) {
    return u32(1) + u32(push) + u32(pull) + u32(count);
  };
  expect_result(80, start(0, 0, 3), 0);
  bytes seen;
  do {
    seen.push_back(cards()[1]);
  } while (io_.run_one() == 1);
  EXPECT_EQ(seen, (bytes{0, 1, 0, 1, 0, 1}));

  for (int i = 0; i < 2; ++i) {
    expect_result(80, start(1000, 1000, 5), 0);
    EXPECT_EQ(cards()[1], 0) << "a run replaces the one before";
  }
  expect_result(80, u32(0), 0);
  EXPECT_EQ(cards()[1], 1);
  io_.restart();
  io_.run();  // would wait for a run that went on
  EXPECT_EQ(cards()[1], 1);

  for (const bytes& wrong : {start(0xFFFFFFFF, 0, 1), start(0, 0x80000000, 1),
                             start(0, 0, 0xFFFFFFFF), u32(2), u32(1)}) {
    expect_result(80, wrong, 22);
  }
}

TEST_F(common_request, hot_swap_ends_with_its_modem_and_the_card_in) {
  for (const bool is_killed : {false, true}) {
    const support::temp_dir state;
    const std::string copy = state.file("copy");
    {
      sim::modem other(io_, state.file("state"));
      other.hot_swap.start({std::chrono::seconds(1000), std::chrono::seconds(1000), 1});
      EXPECT_FALSE(other.cards.present(0));
      std::filesystem::copy(state.file("state"), copy);
    }
    const std::string left = is_killed ? copy : state.file("state");
    sim::store kept(left);
    sim::settings settings(kept);
    EXPECT_EQ(settings.get(sim::setting_of::card[0]), is_killed ? 0 : 3);
    const sim::modem next(io_, left);
    EXPECT_EQ(settings.get(sim::setting_of::card[0]), 3);
  }
}

TEST_F(common_request, restart_is_asked_for_by_two_arguments_only) {
  expect_result(31, u32(0x1001), 22);
  expect_result(31, {}, 22);
  EXPECT_FALSE(restarts_);
  expect_result(31, u32(0x1000), 0);
  EXPECT_TRUE(restarts_);
  EXPECT_EQ(modem_.store.counter("restarts"), 1);
  expect_result(84, u32(1) + u32(0), 0);
  expect_result(84, u32(1), 22);
  expect_result(1000, {}, 0);
  EXPECT_EQ(modem_.store.counter("common.1000"), 1);
}

TEST_F(common_request, statistics_count_what_the_modem_did) {
  using sim::event;
  for (const auto each : {event::answered, event::refused, event::refused, event::restart}) {
    modem_.activity.count(each);
  }
  for (int i = 0; i < 300; ++i) modem_.activity.count(event::request);
  expect_result(57, u32(1) + u32(0) + u32(0), 0);
  for (int i = 0; i < 2; ++i) expect_result(57, u32(1) + u32(1) + u32(0), 0);
  expect(u32(20), hex("00*8 01 "
                      "01 00*8 01 00*7 02 00*7 "
                      "01 01000000 01 01000000 01000000 "
                      "00000000 01 00*8 2c01 00*6 01000000 01000000 "
                      "01 01 00*56 "
                      "01 01 03000000 01000000"));
}

enum nvefs_result : std::uint32_t { ok, not_found = 2, bad = 22, too_large = 27, disorder = 29 };

class nvefs : public extension_service {
 protected:
  using extension_service::ask;
  template <typename Request>
  nvefs_answer ask(const Request& request, std::uint32_t client_port = 1) {
    return nvefs_answer(ask(extension_tlvs(2, request.payload()), client_port));
  }
};

TEST_F(nvefs, requests_that_cannot_be_met_get_their_result) {
  const std::string longest(71, 'p');
  const bytes data = hex("aa");
  const struct {
    bytes payload;
    std::uint32_t result;
  } rows[] = {
      {item_request{.operation = 0}.payload(), bad},
      {item_request{.operation = 7}.payload(), bad},
      {item_request{.subscription = 2}.payload(), bad},
      {item_request{.item = 7233}.payload(), bad},
      {item_request{.item = 7000}.payload(), not_found},
      {item_request{.operation = 2}.payload(), bad},
      {item_request{.operation = 2, .data = bytes(366)}.payload(), too_large},
      {item_request{.operation = 2, .item = 7233, .data = data}.payload(), bad},
      {file_request{.path = ""}.payload(), bad},
      {file_request{.path = longest, .path_length = 72}.payload(), bad},
      {file_request{.path = longest}.payload(), not_found},
      {file_request{.subscription = 255}.payload(), bad},
      {file_request{.operation = 6}.payload(), not_found},
      {file_request{.operation = 5, .data = data}.payload(), bad},
      {file_request{.operation = 5, .total = 5}.payload(), bad},
      {file_request{.operation = 5, .total = 102411, .data = data}.payload(), too_large},
      {file_request{.operation = 5, .offset = 1, .total = 2, .data = data}.payload(), disorder},
      {file_request{.operation = 5, .total = 1, .data = hex("aabb")}.payload(), disorder},
  };
  for (const auto& row : rows) {
    const nvefs_answer answer(ask(extension_tlvs(2, row.payload)));
    EXPECT_EQ(answer.result, row.result) << "row " << &row - rows;
    EXPECT_EQ(answer.total, 0U);
    EXPECT_EQ(answer.data, bytes{});
  }
  // Short ones, wherever they end.
  for (const bytes& whole :
       {item_request{.operation = 2, .data = hex("aabb")}.payload(), file_request{}.payload(),
        file_request{.operation = 5, .total = 2, .data = hex("aabb")}.payload()}) {
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
      const auto size = static_cast<std::uint8_t>(cut);
      const bytes tlvs = hex("01 0400 02000000  02 0400") + u32(size) + hex("10") + bytes{size, 0} +
                         slice(whole, 0, size);
      EXPECT_EQ(nvefs_answer(ask(tlvs)).result, bad) << int{size};
    }
  }
}

TEST_F(nvefs, files_of_every_size_come_back_in_chunks_of_414) {
  for (const std::size_t size : {1U, 414U, 415U, 828U, 102409U, 102410U}) {
    bytes file(size);
    for (std::size_t i = 0; i < size; ++i) file[i] = static_cast<std::uint8_t>(i * 7 + i / 414);
    for (std::size_t at = 0; at < size; at += 414) {
      ASSERT_EQ(ask(chunk_write(file, at)).result, ok);
    }
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
    EXPECT_EQ(ask(file_request{.offset = last + 2}).result, disorder);
    EXPECT_EQ(ask(file_request{.offset = 0xFFFFFFFF}).result, disorder);
  }
  EXPECT_EQ(ask(file_request{.subscription = 1}).result, not_found);
  EXPECT_EQ(ask(file_request{.operation = 6}).result, ok);
  EXPECT_EQ(ask(file_request{}).result, not_found);
}

TEST_F(nvefs, write_counts_only_when_complete_and_in_order) {
  const bytes old(500, 0x01);
  for (const std::size_t at : {0U, 414U}) ASSERT_EQ(ask(chunk_write(old, at)).result, ok);
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
    EXPECT_EQ(ask(each).result, disorder);
    EXPECT_EQ(ask(end).result, disorder) << "the transfer has ended";
  }
  EXPECT_EQ(ask(start).result, ok);
  EXPECT_EQ(ask(end, 2).result, disorder) << "another client's";
  EXPECT_EQ(ask(file_request{}).data, bytes(414, 0x01));

  // Anew, over the pending one; and what another client reads meanwhile stays one file.
  EXPECT_EQ(ask(start).result, ok);
  EXPECT_EQ(ask(file_request{}, 2).total, 500U);
  EXPECT_EQ(ask(end).result, ok);
  EXPECT_EQ(ask(file_request{.offset = 414}, 2).data, bytes(86, 0x01));
  EXPECT_EQ(ask(file_request{.offset = 414}, 1).data, bytes(186, 0x02));

  EXPECT_EQ(ask(start).result, ok);
  modem_.transfers.drop({nullptr, {1, 1}});
  EXPECT_EQ(ask(end).result, disorder) << "the client had gone";
}

}  // namespace
