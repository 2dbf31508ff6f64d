// What ports and clients hear of services.
#include "simulator/node.h"
#include "support/test.h"

namespace {

constexpr sim::service_row services[] = {
    {.name = "first", .id = 0xFFE4, .version = 1, .result_tlv = 1, .messages = {}},
    {.name = "second", .id = 0x0B, .version = 2, .result_tlv = 1, .messages = {}},
};

class listening_port : public sim::port {
 public:
  void send(protocol::qrtr::address to, protocol::qrtr::address, protocol::byte_view) override {
    heard.push_back("to " + std::to_string(to.port));
  }
  void service_up(const protocol::qrtr::server& server) override { hear("up", server); }
  void service_down(const protocol::qrtr::server& server) override { hear("down", server); }

  std::vector<std::string> heard;

 private:
  void hear(const char* what, const protocol::qrtr::server& server) {
    heard.push_back(std::to_string(server.at.port) + " " + std::to_string(server.instance_word) +
                    " " + what);
  }
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

}  // namespace
