// The live page as browsers get it: on a port of hand-written bytes, over sockets of the test's
// own.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <list>
#include <string>

#include "decode/page/live/live_data.h"
#include "decode/page/live/record_clock.h"
#include "support/decode_run.h"
#include "support/live_port.h"

namespace {

using namespace support;

class browser {
 public:
  browser(const std::string& url, const std::string& request_line, std::string host = "") {
    const auto port = url.substr(url.rfind(':') + 1);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port)));
    if (host.empty()) host = "localhost:" + port;
    const int small = 4096;
    setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    EXPECT_EQ(connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    const auto request = request_line + " HTTP/1.1\r\nHost: " + host + "\r\n\r\n";
    EXPECT_EQ(write(socket_, request.data(), request.size()), ssize_t(request.size()));
  }
  browser(const browser&) = delete;
  browser& operator=(const browser&) = delete;
  ~browser() { close(socket_); }

  /// Reads on until the text has come; false when the connection ends first.
  [[nodiscard]] bool gets(const std::string& text) {
    std::array<char, 65536> more;
    for (std::size_t at = got_.find(text); at == std::string::npos; at = got_.find(text)) {
      pollfd wait{socket_, POLLIN, 0};
      const ssize_t count =
          poll(&wait, 1, 30'000) == 1 ? read(socket_, more.data(), more.size()) : 0;
      if (count <= 0) return false;
      got_.append(more.data(), static_cast<std::size_t>(count));
    }
    got_.erase(0, got_.find(text) + text.size());
    return true;
  }
  [[nodiscard]] bool is_connected() const {
    pollfd wait{socket_, POLLRDHUP, 0};
    return poll(&wait, 1, 0) == 0;
  }

 private:
  const int socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  std::string got_;
};

/// Of a thousand bytes each, and one that says where they end.
bytes sip_messages(int count, const std::string& end) {
  bytes all;
  for (int i = 0; i <= count; ++i) {
    const auto text = (i == count ? end : std::string(4, 'x')) + std::string(995, 'x');
    all = all + diag_frame(hex("1000 0404 0404 6E15 BE0C0B9E34DDD400"
                               "01010000 E803 E803 0200 0000 FF000000") +
                           bytes(text.begin(), text.end()) + bytes{0});
  }
  return all;
}

using tvk_decode_live_page = with_captures;

TEST_F(tvk_decode_live_page, follows_the_port_for_several_browsers_whether_they_read_or_not) {
  EXPECT_EQ(support::decode({"--page", file("none")}).exit_status, 2);
  live_port modem;
  background_process live(TVK_DECODE_PROGRAM,
                          modem.arguments({"--page", "127.0.0.1:0", "-o", file("lines")}));
  ASSERT_TRUE(live.wait_for_error_text("/\n"));
  auto url = live.errors_so_far();
  ASSERT_EQ(url.rfind("tvk-decode: the page is at http://127.0.0.1:", 0), 0U) << url;
  url.resize(url.size() - 2);

  EXPECT_TRUE(browser(url, "GET /", "rebound.example:80").gets("HTTP/1.1 403 "));
  EXPECT_TRUE(browser(url, "POST /").gets("HTTP/1.1 405 "));
  browser page(url, "GET /");
  EXPECT_TRUE(page.gets("HTTP/1.1 200 "));
  EXPECT_TRUE(page.gets("; connect-src 'self'; frame-ancestors 'none'\r\n"));
  EXPECT_TRUE(page.gets(R"(<script type="application/json" id="data">{"live":true}</script>)"));

  browser first(url, "GET /events");
  EXPECT_TRUE(first.gets("event: whole\ndata: {"));
  modem.port().write(diag_frame(cell_info));
  EXPECT_TRUE(first.gets(R"("pci":289)"));
  browser second(url, "GET /events");
  EXPECT_TRUE(second.gets(R"("pci":289)"));
  auto next_cell = cell_info;
  next_cell[17] = 0x22;
  modem.port().write(diag_frame(next_cell));
  for (auto* const one : {&first, &second}) {
    EXPECT_TRUE(one->gets(R"({"time":1458770149772,"radio":1,"from":0,"to":1,)"));
  }
  modem.port().close_connection();
  EXPECT_TRUE(first.gets(R"("port_is_open":true,"port_losses":1)"));

  std::list<browser> others;
  for (int i = 0; i < 14; ++i) {
    EXPECT_TRUE(others.emplace_back(url, "GET /events").gets("event: whole\n"));
  }
  EXPECT_TRUE(browser(url, "GET /events").gets("HTTP/1.1 503 "));
  others.clear();
  EXPECT_TRUE(eventually([&] { return browser(url, "GET /events").gets("event: whole\n"); }));

  // What it has to take is more than the system holds for it. Decoding goes on while it is there.
  modem.port().write(sip_messages(500, "half"));
  for (auto* const one : {&first, &second}) EXPECT_TRUE(one->gets("half"));
  const browser reads_nothing(url, "GET /events");
  modem.port().write(sip_messages(500, "last") + diag_frame(voice));
  EXPECT_TRUE(
      eventually([&] { return records_in(read_file(file("lines"))).ends_with(voice_line()); }));
  for (auto* const one : {&first, &second}) EXPECT_TRUE(one->gets("last"));
  EXPECT_TRUE(reads_nothing.is_connected());
  live.send_signal(SIGINT);
  EXPECT_EQ(live.wait().exit_status, 0);
  EXPECT_TRUE(first.gets("event: end\n"));
}

TEST(live_data, keeps_an_hour_and_starts_over_when_the_clock_is_set_back) {
  using namespace decode::page;
  record_clock clock;
  live_data data;
  const auto add = [&](std::int64_t minute, const char* text) {
    const auto time = 1'458'770'000'000 + minute * 60'000;
    const auto verdict = clock.judge(time);
    if (verdict == record_clock::verdict::strange) return;
    live_batch one{verdict == record_clock::verdict::set_back, time_window{time, time}, {}};
    one.seen.marks.push_back({time, 1, 0, text});
    data.add(one, {});
  };
  const auto shown = [&] {
    live_data::clock::time_point due;
    return *live_data::follower(data).next(due);
  };
  add(0, "early");
  add(30, "second");
  add(65, "third");
  add(9, "of a wrong time");
  auto text = shown();
  EXPECT_EQ(text.find("early"), std::string::npos);
  EXPECT_NE(text.find("second"), std::string::npos);
  EXPECT_NE(text.find("third"), std::string::npos);
  EXPECT_EQ(text.find("wrong"), std::string::npos);
  for (int i = 0; i < 10; ++i) add(10, "set back");
  text = shown();
  EXPECT_EQ(text.find("third"), std::string::npos);
  EXPECT_NE(text.find("set back"), std::string::npos);
}

}  // namespace
