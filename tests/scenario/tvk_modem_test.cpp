// tvk-modem as its clients meet it: lookups, requests, faults.
#include <algorithm>
#include <cstdlib>
#include <optional>

#include "support/diag_frame.h"
#include "support/eventually.h"
#include "support/modem_connection.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;
using namespace support::packets;
using connection = modem_connection;

const std::vector<std::string> held = {"--hold-time"};

TEST(tvk_modem, lookup_finds_by_service_and_whole_instance_word) {
  const simulated_modem modem;
  const connection client(modem.socket());
  const auto look_up = [&](const char* service, const char* word) {
    return client.look_up(control + hex("0a000000") + hex(service) + hex("0000") + hex(word) +
                          hex("0000 00000000 00000000"));
  };
  EXPECT_EQ(look_up("0000", "0000"), listed(all_up));
  EXPECT_EQ(look_up("e4ff", "0000"), listed({service_up}));
  EXPECT_EQ(look_up("1100", "0101"), listed({sar_up}));
  EXPECT_EQ(look_up("0000", "0101"), listed(all_up));
  EXPECT_EQ(look_up("e4ff", "0100"), listed({}));
  EXPECT_EQ(look_up("e4ff", "0001"), listed({}));
  EXPECT_EQ(look_up("0c00", "0000"), listed({}));
}

TEST(tvk_modem, what_is_not_a_request_gets_error_1_or_nothing_and_without_an_address_an_end) {
  const simulated_modem modem;
  const connection client(modem.socket());
  const bytes no_answer[] = {
      hex("00000000 63000000") + hex("00 0100 0200 0000"),  // no such port
      hex("00000000 feffffff") + hex("00 0100 0200 0000"),  // not the control port's node
      hex("01000000 01000000") + hex("00 0100 0200 0000"),
      service,
      service + hex("00 09"),
      service + hex("02 0900 0200 0000"),     // a response
      service + hex("04 0900 0200 0100"),     // an indication, malformed
      control + hex("0a000000 00000000 00"),  // a short control packet
      control + hex("63000000 00000000 00000000 00000000 00000000"),
  };
  for (const bytes& packet : no_answer) ASSERT_TRUE(client.send(packet));

  const std::pair<const char*, const char*> malformed[] = {
      {"00 0200 9900 0000", "02 0200 9900 0700  02 0400 0100 4700"},  // unknown
      {"00 0900", "02 0900 0000 0700  02 0400 0100 0100"},
      {"00 0900 0300", "02 0900 0300 0700  02 0400 0100 0100"},
      {"00 0900 0200 0100", "02 0900 0200 0700  02 0400 0100 0100"},
      {"00 0900 0200 0000 00", "02 0900 0200 0700  02 0400 0100 0100"},
      {"00 0900 0200 0500 01 0400 0000", "02 0900 0200 0700  02 0400 0100 0100"},
      {"01 0900 0200 0000", "02 0900 0200 0700  02 0400 0100 0100"},
      {"00 0900 0200 ffff 00*65536", "02 0900 0200 0700  02 0400 0100 0100"},
      // The longest packet there is: one unknown optional TLV, so two mandatory ones are missing.
      {"00 0a00 0200 ffff  20 fcff 00*65532", "02 0a00 0200 0700  02 0400 0100 1100"},
  };
  for (const auto& [packet, answer] : malformed) {
    EXPECT_EQ(client.ask(service + hex(packet)), service + hex(answer)) << packet;
  }
  for (const bytes& packet : {hex("00"), hex("00000000 010000")}) {
    EXPECT_EQ(connection(modem.socket()).ask(packet), bytes()) << "closed";
  }
  EXPECT_EQ(client.ask(echo()), echo_answer());
}

TEST(tvk_modem, lookups_see_the_service_go_and_come_back) {
  simulated_modem modem({"extension/2@1=down:200"}, held);
  const connection client(modem.socket());
  const connection watcher(modem.socket());
  const connection former(modem.socket());
  for (const connection* const each : {&client, &watcher, &former}) {
    EXPECT_EQ(each->look_up(look_up_all), listed(all_up));
  }
  ASSERT_TRUE(former.send(end_look_up_all));
  EXPECT_EQ(watcher.look_up(look_up_extension), listed({service_up}));

  EXPECT_EQ(client.ask(echo("0100")), service_down);
  ASSERT_TRUE(client.send(echo("0200")));
  modem.let_pass(199);
  EXPECT_EQ(client.look_up(look_up_extension), listed({})) << "the second request is lost";
  modem.let_pass(1);
  // The client has two lookups by now.
  EXPECT_EQ(client.receive_many(2), std::vector(2, service_up));
  EXPECT_EQ(watcher.receive_many(4),
            (std::vector{service_down, service_down, service_up, service_up}));
  EXPECT_EQ(client.ask(echo("0300")), echo_answer("0300"));
  EXPECT_EQ(former.ask(echo("0400")), echo_answer("0400"));
}

TEST(tvk_modem, one_client_cannot_hold_lookups_or_channels_without_end) {
  const simulated_modem modem({"extension/2=down"});
  std::optional<connection> greedy(std::in_place, modem.socket());
  for (int i = 0; i < 128; ++i) EXPECT_EQ(greedy->look_up(look_up_extension).size(), 2U);
  // The 129th is ignored.
  ASSERT_TRUE(greedy->send(look_up_extension));
  EXPECT_EQ(connection(modem.socket()).look_up(look_up_extension).size(), 2U);
  ASSERT_TRUE(greedy->send(echo()));
  EXPECT_EQ(greedy->receive_many(128), std::vector(128, service_down));

  const bytes open = uim + hex("00 0100 4200 0d00  01 0100 01  10 0600 05 a000000087");
  const bytes none_is_free = uim + hex("02 0100 4200 0700  02 0400 0100 4400");
  for (const bool opens : {true, true, true, false}) {
    EXPECT_EQ(greedy->ask(open) != none_is_free, opens);
  }
  const connection next(modem.socket());
  EXPECT_EQ(next.ask(open), none_is_free);
  greedy.reset();
  EXPECT_TRUE(eventually([&] { return next.ask(open) != none_is_free; }));
}

TEST(tvk_modem, faults_change_the_answer) {
  const std::pair<const char*, bytes> rows[] = {
      {"0xFFE4/2@1=error:0x5e", hex("0200 0700  02 0400 0100 5e00")},
      {"65508/0x0002@2=result:4294967295",
       hex("0200 1102  01 0400 ffffffff") + slice(answer_tlvs, 7)},
      {"extension/2@3=truncate:9", hex("0200 0900  01 0400 00000000  02 04")},
      {"extension/2@4=truncate:0", hex("0200 0000")},
      {"extension/2@5=truncate:600", hex("0200 1102") + answer_tlvs},
      {"extension/2@6=wrong-id", hex("0300 1102") + answer_tlvs},
      {"extension/2@7=wrong-id:0x1234", hex("3412 1102") + answer_tlvs},
      {"extension/3=silent", hex("0200 1102") + answer_tlvs},
      {"sar=down", hex("0200 1102") + answer_tlvs},
  };
  std::vector<std::string> rules;
  for (const auto& [rule, answer] : rows) rules.emplace_back(rule);
  const simulated_modem modem(rules);
  const connection client(modem.socket());
  for (const auto& [rule, answer] : rows) {
    EXPECT_EQ(client.ask(echo()), service + hex("02 0100") + answer) << rule;
  }
  auto all_but_sar = all_up;
  std::erase(all_but_sar, sar_up);
  EXPECT_EQ(client.look_up(look_up_all), listed(all_but_sar)) << "down from the start";
}

TEST(tvk_modem, first_fault_rule_wins_and_the_others_still_count) {
  const simulated_modem modem({"extension/2@2=error:2", "extension/2@3=error:3",
                               "extension/3=error:9", "extension/3@1=error:8",
                               "extension/2@2=error:7"});
  const connection client(modem.socket());
  for (const auto& [message, error] : {std::pair(2, 0), {3, 9}, {2, 2}, {3, 9}, {2, 3}, {2, 0}}) {
    bytes request = echo();
    request[11] = static_cast<std::uint8_t>(message);
    const bytes answer = client.ask(request);
    EXPECT_EQ(answer.size() == 22 ? answer.at(20) : 0, error) << message;
  }
}

TEST(tvk_modem, silent_and_delayed_answers_hold_up_no_other) {
  simulated_modem modem({"extension/2@1=silent", "extension/2@2=delay:300"}, held);
  const connection client(modem.socket());
  ASSERT_TRUE(client.send(echo("0100")));
  ASSERT_TRUE(client.send(echo("0200")));
  EXPECT_EQ(client.ask(echo("0300")), echo_answer("0300"));
  modem.let_pass(299);
  EXPECT_EQ(connection(modem.socket()).ask(echo("0400")), echo_answer("0400"));
  EXPECT_EQ(client.ask(echo("0500")), echo_answer("0500"));
  modem.let_pass(1);
  EXPECT_EQ(client.receive(), echo_answer("0200"));
}

TEST(tvk_modem, delayed_answer_is_dropped_with_its_client_or_service) {
  simulated_modem modem({"extension/2@3=down:100", "extension/2=delay:200"}, held);
  const connection client(modem.socket());
  EXPECT_EQ(client.look_up(look_up_extension), listed({service_up}));
  ASSERT_TRUE(connection(modem.socket()).send(echo("0100")));
  ASSERT_TRUE(client.send(echo("0200")));
  EXPECT_EQ(client.ask(echo("0300")), service_down);
  modem.let_pass(100);
  EXPECT_EQ(client.receive(), service_up);
  ASSERT_TRUE(client.send(echo("0400")));
  EXPECT_EQ(client.ask(look_up_nothing), end_of_list);
  modem.let_pass(200);
  EXPECT_EQ(client.receive(), echo_answer("0400"));
}

TEST(tvk_modem, client_that_never_reads_is_dropped_and_a_slow_one_gets_every_answer_in_order) {
  const simulated_modem modem;
  const connection deaf(modem.socket());
  const connection client(modem.socket());
  // Its answers fill the socket and then the 1 MiB that the modem keeps for it.
  bool cut_off = false;
  for (int i = 0; i < 100000 && !cut_off; ++i) {
    cut_off = !deaf.send(echo());
    if (i % 100 == 0) {
      EXPECT_EQ(client.ask(echo()), echo_answer());
    }
  }
  EXPECT_TRUE(cut_off);
  EXPECT_EQ(client.ask(echo()), echo_answer());

  constexpr std::size_t asked = 1000;  // more than a socket holds, less than the modem keeps
  for (std::size_t i = 0; i < asked; ++i) {
    bytes request = echo();
    std::ranges::copy(u16(i), request.begin() + 9);
    ASSERT_TRUE(client.send(request));
  }
  EXPECT_EQ(connection(modem.socket()).ask(echo()), echo_answer());
  for (std::size_t i = 0; i < asked; ++i) ASSERT_EQ(slice(client.receive(), 9, 11), u16(i));
}

// It uses no processor time, however its clients left. TVK_IDLE_WINDOW sets for how many
// milliseconds it is watched.
TEST(tvk_modem_idle, is_at_rest_before_and_after_clients_of_each_port) {
  const char* const set = std::getenv("TVK_IDLE_WINDOW");
  const std::chrono::milliseconds window(set == nullptr ? 250 : std::atoi(set));
  const temp_dir dir;
  simulated_modem modem({}, {"--trace", "--diag-pty", dir.file("tty"), "--at-device",
                             dir.file("at"), "--qmux", dir.file("qmux")});
  EXPECT_TRUE(modem.process().comes_to_rest(window)) << "before the first client";

  // All logs of equipment 11, then the version, and half a request.
  const bytes asks_much = diag_frame(hex("73 000000 03000000 0B000000 08000000 FF")) +
                          diag_frame(hex("00")) + hex("1C 00");
  const struct {
    std::string port;
    int type;  ///< of the socket, -1 for a terminal
    bytes asks;
  } rows[] = {
      {modem.socket(), SOCK_SEQPACKET, look_up_all},
      {dir.file("qmux"), SOCK_STREAM, hex("01 0f00 00 00 00  00 07 2200 0400  01 0100 11 01")},
      {modem.diag_socket(), SOCK_STREAM, asks_much},
      {dir.file("tty"), -1, asks_much},
      {dir.file("at"), -1, hex("41540D 4154")},
  };
  int clients = 0;
  for (const auto& each : rows) {
    SCOPED_TRACE(each.port);
    // The first says nothing, and none reads what it asked for.
    for (const bool speaks : {false, true, true}) {
      const open_socket client(each.type < 0 ? terminal_at(each.port)
                                             : connected(each.port, each.type));
      ::ioctl(client.descriptor(), TIOCEXCL);
      if (speaks) client.write(each.asks);
      ++clients;
    }
    EXPECT_TRUE(modem.process().comes_to_rest(window));
  }
  const std::string said = modem.stop();
  int lines = 0;
  for (std::size_t at = 0; (at = said.find(" connects\n", at)) != std::string::npos; ++at) ++lines;
  EXPECT_LE(lines, clients);
}

}  // namespace
