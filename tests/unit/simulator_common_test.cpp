#include <gtest/gtest.h>

#include <filesystem>

#include "simulator/modem/modem.h"
#include "simulator/services/extension.h"
#include "support/extension_packets.h"
#include "support/temp_dir.h"

namespace {

using support::bytes;
using support::common_message;
using support::hex;
using support::u32;
using support::operator+;

class common_request : public testing::Test {
 protected:
  /// The 508 bytes of the answer.
  bytes ask(const bytes& payload) {
    const sim::client who{nullptr, {1, 1}};
    const bytes tlvs = support::extension_tlvs(4, payload);
    const sim::reply said = sim::answer_extension({who, tlvs, modem_});
    EXPECT_EQ(said.result, protocol::qmi::error::none);
    restarts_ = said.restart;
    const bytes head = hex("01 0400 00000000  02 0400 fc010000  10 0002");
    bytes out = said.tlvs.view();
    EXPECT_EQ(bytes(out.begin(), out.begin() + 17), head);
    out.erase(out.begin(), out.begin() + 17);
    out.resize(508);
    return out;
  }
  static bytes answer(const bytes& words) {
    bytes out = words;
    out.resize(508);
    return out;
  }
  static bytes value(std::uint32_t number, std::uint32_t value) {
    return answer(u32(number) + u32(0) + u32(value) + u32(4));
  }
  static bytes result(std::uint32_t number, std::uint32_t result) {
    return answer(u32(number) + u32(result));
  }
  bytes cards() {
    return bytes{ask(common_message(39))[8], ask(common_message(55, u32(0)))[8],
                 ask(common_message(55, u32(1)))[8], ask(common_message(56))[8]};
  }

  asio::io_context io_;
  support::temp_dir directory_;
  sim::modem modem_{io_, directory_.path()};
  bool restarts_ = false;  ///< what was asked last
};

TEST_F(common_request, card_queries_show_what_was_set) {
  EXPECT_EQ(ask(common_message(39)), value(39, 1));
  EXPECT_EQ(ask(common_message(55, u32(1))), value(55, 1));
  EXPECT_EQ(ask(common_message(56)), value(56, 2));
  struct row {
    std::uint32_t slot, mode, level;
    bytes seen;  ///< any, slot 0, slot 1, count
  };
  const row rows[] = {
      {1, 0, 0, {1, 1, 0, 1}}, {0, 1, 0, {0, 0, 0, 0}}, {0, 0, 1, {1, 1, 0, 1}},
      {1, 1, 1, {1, 1, 1, 2}}, {1, 1, 0, {1, 1, 0, 1}},
  };
  for (const row& each : rows) {
    EXPECT_EQ(ask(common_message(57, u32(each.slot) + u32(each.mode) + u32(each.level))),
              result(57, 0));
    EXPECT_EQ(cards(), each.seen);
  }
  for (const bytes& wrong : {u32(2) + u32(0) + u32(0), u32(0) + u32(2) + u32(0),
                             u32(0) + u32(0) + u32(2), u32(0) + u32(0)}) {
    EXPECT_EQ(ask(common_message(57, wrong)), result(57, 22));
  }
  EXPECT_EQ(ask(common_message(55, u32(2))), result(55, 22));
  EXPECT_EQ(ask(common_message(55)), result(55, 22));
  // A length beyond the payload.
  EXPECT_EQ(ask(u32(2) + u32(0) + u32(55) + u32(497)), result(55, 22));
  EXPECT_EQ(cards(), (bytes{1, 1, 0, 1}));
}

TEST_F(common_request, hot_swap_toggles_the_card_of_slot_0) {
  const auto start = [&](std::uint32_t push, std::uint32_t pull, std::uint32_t count) {
    return ask(common_message(80, u32(1) + u32(push) + u32(pull) + u32(count)));
  };
  EXPECT_EQ(start(0, 0, 3), result(80, 0));
  bytes seen;
  do {
    seen.push_back(cards()[1]);
  } while (io_.run_one() == 1);
  EXPECT_EQ(seen, (bytes{0, 1, 0, 1, 0, 1}));

  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(start(1000, 1000, 5), result(80, 0));
    EXPECT_EQ(cards()[1], 0) << "a run replaces the one before";
  }
  EXPECT_EQ(ask(common_message(80, u32(0))), result(80, 0));
  EXPECT_EQ(cards()[1], 1);
  io_.restart();
  io_.run();  // would wait for a run that went on
  EXPECT_EQ(cards()[1], 1);

  EXPECT_EQ(start(0xFFFFFFFF, 0, 1), result(80, 22));
  EXPECT_EQ(start(0, 0x80000000, 1), result(80, 22));
  EXPECT_EQ(start(0, 0, 0xFFFFFFFF), result(80, 22));
  EXPECT_EQ(ask(common_message(80, u32(2))), result(80, 22));
  EXPECT_EQ(ask(common_message(80, u32(1))), result(80, 22));
}

TEST_F(common_request, hot_swap_ends_with_its_modem_and_the_card_in) {
  // A modem that ends, and one that was killed.
  for (const bool ends : {true, false}) {
    const support::temp_dir state;
    {
      sim::modem other(io_, state.path());
      other.hot_swap.start({std::chrono::seconds(1000), std::chrono::seconds(1000), 1});
      EXPECT_FALSE(other.cards.present(0));
      if (!ends) {
        std::filesystem::copy(state.file("modem.db"), state.file("killed.db"));
        std::filesystem::copy(state.file("modem.db-wal"), state.file("killed.db-wal"));
      }
    }
    if (!ends) {
      std::filesystem::rename(state.file("killed.db"), state.file("modem.db"));
      std::filesystem::rename(state.file("killed.db-wal"), state.file("modem.db-wal"));
    }
    sim::store kept(state.path());
    sim::settings settings(kept);
    EXPECT_EQ(settings.get(sim::setting_of::card[0]), ends ? 3 : 0);
    const sim::modem next(io_, state.path());
    EXPECT_EQ(settings.get(sim::setting_of::card[0]), 3);
  }
}

TEST_F(common_request, restart_is_asked_for_by_two_arguments_only) {
  EXPECT_EQ(ask(common_message(31, u32(0x1001))), result(31, 22));
  EXPECT_EQ(ask(common_message(31)), result(31, 22));
  EXPECT_FALSE(restarts_);
  EXPECT_EQ(ask(common_message(31, u32(0x1000))), result(31, 0));
  EXPECT_TRUE(restarts_);
  EXPECT_EQ(modem_.store.counter("restarts"), 1);
  EXPECT_EQ(ask(common_message(35)), result(35, 0));
  EXPECT_EQ(ask(common_message(84, u32(1) + u32(0))), result(84, 0));
  EXPECT_EQ(ask(common_message(84, u32(1))), result(84, 22));
  EXPECT_EQ(ask(common_message(1000)), result(1000, 0));
  EXPECT_EQ(modem_.store.counter("common.1000"), 1);
}

TEST_F(common_request, statistics_count_what_the_modem_did) {
  modem_.activity.count(sim::event::answered);
  modem_.activity.count(sim::event::refused);
  modem_.activity.count(sim::event::refused);
  modem_.activity.count(sim::event::restart);
  for (int i = 0; i < 300; ++i) modem_.activity.count(sim::event::request);
  ask(common_message(57, u32(1) + u32(0) + u32(0)));
  ask(common_message(57, u32(1) + u32(1) + u32(0)));
  EXPECT_EQ(ask(u32(20)), answer(hex("00*8 01 "
                                     "01 00*8 01 00*7 02 00*7 "
                                     "01 01000000 01 01000000 01000000 "
                                     "00000000 01 00*8 2c01 00*6 01000000 01000000 "
                                     "01 01 00*56 "
                                     "01 01 02000000 01000000")));
}

}  // namespace
