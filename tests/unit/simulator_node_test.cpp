// What ports and clients hear of services, and the modem as a node of its own.
#include <sys/socket.h>

#include <array>

#include "simulator/ports/qrtr_link.h"
#include "support/modem_connection.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

constexpr sim::service_row services[] = {
    {.name = "first", .id = 0xFFE4, .version = 1, .result_tlv = 1, .messages = {}},
    {.name = "second", .id = 0x0B, .version = 2, .result_tlv = 1, .messages = {}},
};

class listening_port : public sim::port {
 public:
  void send(protocol::qrtr::address to, protocol::qrtr::address, protocol::byte_view) override {
    heard.push_back("to " + std::to_string(to.port));
  }
  void announce(protocol::qrtr::command change, const protocol::qrtr::server& server) override {
    heard.push_back(std::to_string(server.at.port) + " " + std::to_string(server.instance_word) +
                    (change == protocol::qrtr::command::new_server ? " up" : " down"));
  }

  std::vector<std::string> heard;
};

TEST(node, ports_hear_of_services) {
  sim::trace trace(nullptr, services);
  sim::node node(services, trace);
  node.take_down(services[0]);
  listening_port port;
  node.attach(port);
  for (int i = 0; i < 2; ++i) node.take_down(services[1]);
  for (const auto& each : services) node.bring_up(each);
  node.bring_up(services[0]);
  EXPECT_EQ(port.heard,
            (std::vector<std::string>{"2 258 up", "2 258 down", "1 257 up", "2 258 up"}));
}

TEST(node, client_that_left_is_sent_nothing) {
  sim::trace trace(nullptr, services);
  sim::node node(services, trace);
  listening_port port;
  const std::uint8_t look_up_all[20] = {10};
  for (const std::uint32_t who : {7U, 8U}) node.control({&port, {1, who}}, look_up_all);
  port.heard.clear();
  node.client_gone({&port, {1, 7}});
  node.take_down(services[0]);
  EXPECT_EQ(port.heard, std::vector<std::string>{"to 8"});
}

/// A link from 1:0x4007 or the control port to node 9, in packets with the header of version 1.
TEST(qrtr_link, node_greets_serves_and_waits_for_clients_that_do_not_read) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends.data()), 0);
  asio::io_context io;
  const temp_dir directory;
  sim::modem state(io, directory.path());
  sim::trace trace(nullptr, services);
  sim::node node(services, trace);
  sim::dispatcher dispatcher(io, state, node, sim::faults({}), {}, trace);
  const sim::qrtr_link link(io, host::file_descriptor(ends[1]), 9, node, dispatcher, trace);
  const modem_connection kernel(ends[0]);
  const auto send = [&](const bytes& packet) {
    ASSERT_TRUE(kernel.send(packet));
    io.poll();
  };
  const auto receive = [&] {  // empty if there is nothing
    return kernel.readable(std::chrono::seconds(0)) ? kernel.receive() : bytes();
  };

  const bytes to_control = hex("09000000 feffffff 00000000 14000000 01000000 feffffff");
  EXPECT_EQ(receive(), hex("01000000 02000000") + to_control + hex("02000000 00*16"));
  EXPECT_EQ(receive(), hex("01000000 04000000") + to_control +
                           hex("04000000 e4ff0000 01010000 09000000 01000000"));
  EXPECT_EQ(receive(), hex("01000000 04000000") + to_control +
                           hex("04000000 0b000000 02010000 09000000 02000000"));
  node.take_down(services[0]);
  EXPECT_EQ(receive(), hex("01000000 05000000") + to_control +
                           hex("05000000 e4ff0000 01010000 09000000 01000000"));

  // Too short for a header, another version, less than was announced.
  const bytes request = hex("07000000 09000000 02000000  00 0100 3412 0000 00");
  const bytes from = hex("01000000 01000000 01000000 07400000");
  for (const bytes& wrong : {hex("01000000 01000000"), hex("03") + bytes(39),
                             from + hex("00000000 09") + slice(request, 1)}) {
    send(wrong);
    EXPECT_EQ(receive(), bytes());
  }

  // A message that nobody serves is an error, which comes padded to 16 bytes.
  const auto answer = [](const char* confirm) {
    return hex("01000000 01000000 09000000 02000000") + hex(confirm) +
           hex("000000 0e000000 01000000 07400000  02 0100 3412 0700 02 0400 0100 4700 0000");
  };
  const bytes resume =
      hex("01000000 07000000 09000000 02000000 00000000 14000000 01000000 07400000"
          "07000000 09000000 02000000 00*8");
  for (int i = 1; i <= 11; ++i) {
    send(from + hex(i == 5 ? "01000000" : "00000000") + request);
    if (i == 5) {
      EXPECT_EQ(receive(), resume);
    }
    EXPECT_EQ(receive(), i == 11 ? bytes() : answer(i == 5 ? "01" : "00")) << i;
  }
  send(
      hex("01000000 07000000 01000000 07400000 00000000 14000000 09000000 02000000"
          "07000000 01000000 07400000 00*8"));
  EXPECT_EQ(receive(), answer("00"));
}

}  // namespace
