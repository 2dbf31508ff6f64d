#include <gtest/gtest.h>

#include <array>
#include <utility>
#include <vector>

#include "simulator/node.h"
#include "support/bytes.h"

namespace {

using support::bytes;

constexpr sim::service_row services[] = {
    {.name = "first", .id = 0xFFE4, .version = 1, .result_tlv = 1, .messages = {}},
    {.name = "second", .id = 0x0B, .version = 2, .result_tlv = 1, .messages = {}},
};

// Control packets, word by word; the services' instance words are 0x101 and 0x102, ports 1 and 2.
bytes packet(std::array<std::uint32_t, 5> words) {
  bytes all;
  for (const std::uint32_t word : words) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
      all.push_back(static_cast<std::uint8_t>(word >> shift));
    }
  }
  return all;
}
const bytes first_up = packet({4, 0xFFE4, 0x101, 0, 1});
const bytes second_up = packet({4, 0x0B, 0x102, 0, 2});
const bytes first_down = packet({5, 0xFFE4, 0x101, 0, 1});
const bytes second_down = packet({5, 0x0B, 0x102, 0, 2});
const bytes end_of_list = packet({4, 0, 0, 0, 0});

using packets = std::vector<bytes>;

class recording_port : public sim::port {
 public:
  void send(protocol::qrtr::address to, protocol::qrtr::address from,
            protocol::byte_view datagram) override {
    EXPECT_EQ(from, (protocol::qrtr::address{1, 0xFFFFFFFE}));
    EXPECT_EQ(to.node, 1U);
    sent.emplace_back(datagram.begin(), datagram.end());
    receivers.push_back(to.port);
  }
  void service_up(const protocol::qrtr::server& server) override { up.push_back(server.service); }
  void service_down(const protocol::qrtr::server& server) override {
    down.push_back(server.service);
  }

  packets take() { return std::exchange(sent, {}); }

  packets sent;
  std::vector<std::uint32_t> receivers;
  std::vector<std::uint32_t> up;
  std::vector<std::uint32_t> down;
};

class node : public testing::Test {
 protected:
  void look_up(std::uint32_t service, std::uint32_t word, std::uint32_t who = 7) {
    node_.control({&port_, {1, who}}, packet({10, service, word, 0, 0}));
  }
  void end_look_up(std::uint32_t service, std::uint32_t word) {
    node_.control({&port_, {1, 7}}, packet({11, service, word, 0, 0}));
  }
  void restart_all() {
    for (const auto& service : services) node_.take_down(service);
    for (const auto& service : services) node_.bring_up(service);
  }

  sim::trace trace_{nullptr, services};
  sim::node node_{services, trace_};
  recording_port port_;
};

TEST_F(node, lookup_compares_service_and_whole_instance_word) {
  look_up(0x0B, 0x102);
  EXPECT_EQ(port_.take(), (packets{second_up, end_of_list}));
  look_up(0x0B, 0x002);
  EXPECT_EQ(port_.take(), (packets{end_of_list}));
  look_up(0, 0x101);
  EXPECT_EQ(port_.take(), (packets{first_up, end_of_list}));
  look_up(0xE4, 0);
  EXPECT_EQ(port_.take(), (packets{end_of_list}));
  // Each lookup that matches is told, and only the one that is ended falls silent.
  end_look_up(0, 0x101);
  restart_all();
  EXPECT_EQ(port_.take(), (packets{second_down, second_up}));
}

TEST_F(node, service_that_is_down_is_not_found) {
  const protocol::qrtr::address first{0, 1};
  EXPECT_EQ(node_.service_at(first), &services[0]);
  EXPECT_EQ(node_.service_at({1, 1}), nullptr);
  EXPECT_EQ(node_.service_at({0, 3}), nullptr);
  node_.take_down(services[0]);
  node_.take_down(services[0]);
  EXPECT_EQ(node_.service_at(first), nullptr);
  look_up(0, 0);
  EXPECT_EQ(port_.take(), (packets{second_up, end_of_list}));
}

TEST_F(node, client_that_left_is_told_nothing) {
  look_up(0x0B, 0, 7);
  look_up(0x0B, 0, 8);
  port_.receivers.clear();
  node_.client_gone({&port_, {1, 7}});
  node_.take_down(services[1]);
  EXPECT_EQ(port_.receivers, (std::vector<std::uint32_t>{8}));
}

TEST_F(node, one_client_cannot_hold_lookups_without_end) {
  for (int i = 0; i < 1000; ++i) look_up(0x0B, 0);
  look_up(0x0B, 0, 8);
  port_.take();
  node_.take_down(services[1]);
  EXPECT_EQ(port_.take().size(), 129U);
}

TEST_F(node, ports_hear_of_services) {
  node_.take_down(services[0]);
  node_.attach(port_);
  EXPECT_EQ(port_.up, (std::vector<std::uint32_t>{0x0B}));
  restart_all();
  EXPECT_EQ(port_.up, (std::vector<std::uint32_t>{0x0B, 0xFFE4, 0x0B}));
  EXPECT_EQ(port_.down, (std::vector<std::uint32_t>{0x0B}));
}

}  // namespace
