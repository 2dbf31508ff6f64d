// tvk-modem as its clients meet it: lookups, requests, faults.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/bytes.h"
#include "support/modem_connection.h"
#include "support/simulated_modem.h"

namespace {

using namespace std::chrono_literals;
using namespace support::packets;
using connection = support::modem_connection;
using support::bytes;
using support::hex;
using support::simulated_modem;
using support::operator+;

const bytes closed = {};

TEST(tvk_modem, lookup_lists_services_and_ends_the_list) {
  const simulated_modem modem;
  const connection client(modem.socket());
  ASSERT_TRUE(client.send(look_up_all));
  for (const bytes& seen : all_up) EXPECT_EQ(client.receive(), seen);
  EXPECT_EQ(client.receive(), end_of_list);
  EXPECT_EQ(client.ask(look_up_extension), service_up);
  EXPECT_EQ(client.receive(), end_of_list);
  EXPECT_EQ(client.ask(control + hex("0a000000 0c000000 00000000 00000000 00000000")), end_of_list);
}

TEST(tvk_modem, what_is_not_a_request_gets_error_1_or_nothing_and_the_connection_stays) {
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

  struct row {
    bytes packet;
    bytes answer;
  };
  const bytes error_1 = hex("0700  02 0400 0100 0100");
  const row malformed[] = {
      {hex("00 0200 9900 0000"), hex("02 0200 9900 0700  02 0400 0100 4700")},  // unknown
      {hex("00 0900"), hex("02 0900 0000") + error_1},
      {hex("00 0900 0300"), hex("02 0900 0300") + error_1},
      {hex("00 0900 0200 0100"), hex("02 0900 0200") + error_1},
      {hex("00 0900 0200 0000 00"), hex("02 0900 0200") + error_1},
      {hex("00 0900 0200 0500 01 0400 0000"), hex("02 0900 0200") + error_1},
      {hex("01 0900 0200 0000"), hex("02 0900 0200") + error_1},
      {hex("00 0900 0200 ffff") + bytes(65536), hex("02 0900 0200") + error_1},
  };
  for (const row& each : malformed) {
    EXPECT_EQ(client.ask(service + each.packet), service + each.answer);
  }
  EXPECT_EQ(client.ask(echo()), echo_answer());
  // The longest packet there is: one unknown optional TLV, so two mandatory ones are missing.
  EXPECT_EQ(client.ask(service + hex("00 0a00 0200 ffff  20 fcff") + bytes(65532)),
            service + hex("02 0a00 0200 0700  02 0400 0100 1100"));
}

TEST(tvk_modem, packet_without_an_address_closes_the_connection) {
  const simulated_modem modem;
  const connection bystander(modem.socket());
  for (const bytes& packet : {hex("00"), hex("00000000 010000")}) {
    const connection client(modem.socket());
    EXPECT_EQ(client.ask(packet), closed);
  }
  EXPECT_EQ(bystander.ask(echo()), echo_answer());
}

TEST(tvk_modem, lookups_see_the_service_go_and_come_back) {
  const simulated_modem modem({"extension/2@1=down:200"});
  const connection client(modem.socket());
  const connection watcher(modem.socket());
  const connection former(modem.socket());
  for (const auto* each : {&client, &watcher, &former}) {
    ASSERT_TRUE(each->send(look_up_all));
    for (const bytes& seen : all_up) EXPECT_EQ(each->receive(), seen);
    EXPECT_EQ(each->receive(), end_of_list);
  }
  ASSERT_TRUE(former.send(end_look_up_all));
  ASSERT_TRUE(watcher.send(look_up_extension));
  EXPECT_EQ(watcher.receive(), service_up);
  EXPECT_EQ(watcher.receive(), end_of_list);

  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(client.send(echo("0100")));
  ASSERT_TRUE(client.send(echo("0200")));
  EXPECT_EQ(client.receive(), service_down);
  EXPECT_EQ(client.receive(), service_up) << "the second request is lost";
  EXPECT_GE(std::chrono::steady_clock::now() - start, 200ms);
  for (const bytes& seen : {service_down, service_down, service_up, service_up}) {
    EXPECT_EQ(watcher.receive(), seen);
  }
  EXPECT_EQ(client.ask(echo("0300")), echo_answer("0300"));
  EXPECT_EQ(former.ask(echo("0400")), echo_answer("0400"));
}

TEST(tvk_modem, faults_change_the_answer) {
  struct row {
    const char* rule;
    bytes answer;
  };
  const row rows[] = {
      {"extension=error:94", service + hex("02 0100 0200 0700  02 0400 0100 5e00")},
      {"65508/0x2=result:7", service + hex("02 0100 0200 1102  01 0400 07000000") +
                                 bytes(answer_tlvs.begin() + 7, answer_tlvs.end())},
      {"extension/2=truncate:9", service + hex("02 0100 0200 0900  01 0400 00000000  02 04")},
      {"extension/2=wrong-id", service + hex("02 0100 0300 1102") + answer_tlvs},
      {"extension/2=wrong-id:0x1234", service + hex("02 0100 3412 1102") + answer_tlvs},
      {"extension/3=silent", echo_answer()},
      {"extension/2@2=silent", echo_answer()},
  };
  for (const row& each : rows) {
    SCOPED_TRACE(each.rule);
    const simulated_modem modem({each.rule});
    EXPECT_EQ(connection(modem.socket()).ask(echo()), each.answer);
  }
}

TEST(tvk_modem, silent_and_delayed_answers_hold_nobody_up) {
  const simulated_modem modem({"extension/2@1=silent", "extension/2@2=delay:300"});
  const connection client(modem.socket());
  const connection other(modem.socket());
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(client.send(echo("0100")));
  ASSERT_TRUE(client.send(echo("0200")));
  ASSERT_TRUE(client.send(echo("0300")));
  EXPECT_EQ(client.receive(), echo_answer("0300"));
  EXPECT_EQ(other.ask(echo("0400")), echo_answer("0400"));
  EXPECT_EQ(client.receive(), echo_answer("0200"));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 300ms);
  EXPECT_EQ(client.ask(echo("0500")), echo_answer("0500"));
}

TEST(tvk_modem, delayed_answer_is_dropped_with_its_client_or_service) {
  const simulated_modem modem({"extension/2@3=down:100", "extension/2=delay:200"});
  auto leaver = std::make_unique<connection>(modem.socket());
  const connection client(modem.socket());
  ASSERT_TRUE(client.send(look_up_extension));
  EXPECT_EQ(client.receive(), service_up);
  EXPECT_EQ(client.receive(), end_of_list);
  ASSERT_TRUE(leaver->send(echo("0100")));
  ASSERT_TRUE(client.send(echo("0200")));
  ASSERT_TRUE(client.send(echo("0300")));
  leaver.reset();
  EXPECT_EQ(client.receive(), service_down);
  EXPECT_EQ(client.receive(), service_up);
  // Comes when the dropped one would have come long ago.
  EXPECT_EQ(client.ask(echo("0400")), echo_answer("0400"));
}

TEST(tvk_modem, serves_twenty_clients_at_once) {
  const simulated_modem modem;
  constexpr std::size_t many = 20;
  std::vector<std::thread> clients;
  clients.reserve(many);
  while (clients.size() < many) {
    clients.emplace_back([&modem] {
      const connection client(modem.socket());
      for (int j = 0; j < 200; ++j) ASSERT_EQ(client.ask(echo()), echo_answer());
    });
  }
  for (auto& each : clients) each.join();
}

TEST(tvk_modem, client_that_never_reads_is_dropped_and_disturbs_nobody) {
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
}

TEST(tvk_modem, slow_reader_gets_every_answer_in_order) {
  const simulated_modem modem;
  const connection client(modem.socket());
  constexpr int asked = 1000;  // more than a socket holds, less than the modem keeps
  const auto transaction = [](int i) {
    return bytes{static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i >> 8)};
  };
  for (int i = 0; i < asked; ++i) {
    bytes request = echo();
    std::ranges::copy(transaction(i), request.begin() + 9);
    ASSERT_TRUE(client.send(request));
  }
  EXPECT_EQ(connection(modem.socket()).ask(echo()), echo_answer());
  for (int i = 0; i < asked; ++i) {
    const bytes answer = client.receive();
    ASSERT_GE(answer.size(), 11U);
    ASSERT_EQ(bytes(answer.begin() + 9, answer.begin() + 11), transaction(i));
  }
}

}  // namespace
