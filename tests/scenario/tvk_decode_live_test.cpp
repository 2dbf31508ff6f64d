// tvk-decode at a live port: what it asks for and gives back, what it saves, datagrams and the
// live page.
#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <list>

#include "support/decode_run.h"
#include "support/eventually.h"
#include "support/hand_diag.h"
#include "support/simulated_modem.h"
#include "support/test.h"

namespace {

using namespace support;

/// Answers as a modem with logs 0x1000 to 0x1FFF and 0xB000 to 0xBFFF and all events, of which some
/// are on already. It keeps its masks when its client goes, as a phone does.
struct live_port {
  explicit live_port(hand_diag::kind kind = hand_diag::kind::unix_socket) : port(kind) {
    port.on_request([this](const bytes& request) { port.write(diag_frame(answer_to(request))); });
  }

  std::vector<std::string> arguments(std::vector<std::string> more) const {
    more.insert(more.begin(), {"--live", port.endpoint(), "-f", "jsonl"});
    return more;
  }

  /// Waits until the requests so far hold `count` that begin with `front`.
  bool wait_for(const bytes& front, std::size_t count) const {
    return eventually([&] { return beginning_with(front).size() >= count; });
  }

  std::vector<bytes> beginning_with(const bytes& front) const {
    auto all = port.requests();
    std::erase_if(all, [&](const bytes& one) {
      return one.size() < front.size() || !std::equal(front.begin(), front.end(), one.begin());
    });
    return all;
  }

  // 0xB000, which has no decoder, and 0xB193.
  static inline const bytes logs_before = hex("01 00*49 08 00*461");
  static inline const bytes events_before = hex("00*511 80");

  bytes logs(const bytes& equipment) const {
    const auto all = beginning_with(hex("73000000 03000000") + equipment);
    return all.empty() ? logs_before : bytes(all.back().begin() + 16, all.back().end());
  }
  bytes events() const {
    const auto all = beginning_with(hex("82"));
    return all.empty() ? events_before : bytes(all.back().begin() + 6, all.back().end());
  }

  bytes answer_to(const bytes& request) const {
    if (request[0] == 0x60) return hex("60 0000");
    if (request[0] == 0x81) return hex("81 00 0000 0010") + events();
    if (request[0] == 0x82) return hex("82 00 0000 0010") + slice(request, 6);
    const auto done = slice(request, 0, 8) + hex("00000000");
    if (request[4] == 1) return done + hex("00*4 00100000 00*36 00100000 00*16");
    const auto which = slice(request, 8, 12);
    if (request[4] == 4) return done + which + hex("00100000") + logs(which);
    return done + slice(request, 8);
  }

  hand_diag port;
};

const bytes reports_on = hex("60 01");
const bytes reports_off = hex("60 00");
const bytes log_mask = hex("73000000 03000000 0B000000");

class tvk_decode_live : public with_captures {
 protected:
  bool wait_for_lines(const std::string& expected) const {
    return eventually([&] { return records_in(read_file(file("lines"))) == expected; });
  }
  static int status_after(int signal, background_process& program) {
    program.send_signal(signal);
    return program.wait().exit_status;
  }
};

TEST_F(tvk_decode_live, asks_saves_comes_back_and_takes_its_requests_back) {
  live_port modem;
  background_process live(TVK_DECODE_PROGRAM, modem.arguments({"--save", file("s.qmdl"), "-o",
                                                               file("lines"), "--summary"}));
  ASSERT_TRUE(modem.wait_for(reports_on, 1));
  const auto masks = modem.beginning_with(log_mask);
  ASSERT_EQ(masks.size(), 1U);
  EXPECT_EQ(masks[0][16 + 0x0C2 / 8], 0x04);  // 0xB0C2 and no neighbour
  EXPECT_EQ(masks[0][16], 0x01);              // what others asked for stays
  const auto wanted = modem.beginning_with(hex("82"));
  ASSERT_EQ(wanted.size(), 1U);
  EXPECT_EQ(wanted[0][6 + 1606 / 8] & 1 << 1606 % 8, 1 << 1606 % 8);
  EXPECT_EQ(wanted[0].back(), 0x80);

  modem.port.write(capture + hex("01020304057E"));
  EXPECT_TRUE(wait_for_lines(capture_lines));
  modem.port.close_connection();
  EXPECT_TRUE(live.wait_for_error_text("the port is lost; waiting for it"));
  EXPECT_TRUE(live.wait_for_error_text("the port is back"));
  ASSERT_TRUE(modem.wait_for(reports_on, 2));
  modem.port.write(diag_frame(voice));
  EXPECT_TRUE(wait_for_lines(capture_lines + voice_line()));
  live.send_signal(SIGINT);
  const auto ended = live.wait();
  EXPECT_EQ(ended.exit_status, 0);
  EXPECT_PRED2(contains, ended.errors, "\nbad CRC                  1\n");

  EXPECT_EQ(modem.beginning_with(reports_off).size(), 1U);
  EXPECT_EQ(modem.beginning_with(hex("82")).back(), hex("82 00 0000 0010 00*511 80"));
  EXPECT_EQ(modem.beginning_with(log_mask).back(),
            log_mask + hex("00100000") + live_port::logs_before);
  const auto saved = read_file(file("s.qmdl"));
  const std::string in_saved(capture.begin(), capture.end());
  EXPECT_PRED2(contains, saved, in_saved);
  EXPECT_EQ(decode({"-f", "jsonl", file("s.qmdl")}).output, capture_lines + voice_line());
}

TEST_F(tvk_decode_live, packets_of_a_router_have_no_framing) {
  live_port router(hand_diag::kind::packet_name);
  background_process live(TVK_DECODE_PROGRAM, router.arguments({"-o", file("lines")}));
  ASSERT_TRUE(router.wait_for(reports_on, 1));
  router.port.write(capture);
  EXPECT_TRUE(wait_for_lines(capture_lines));
  EXPECT_EQ(status_after(SIGINT, live), 0);
  EXPECT_EQ(router.beginning_with(reports_off).size(), 1U);
}

TEST_F(tvk_decode_live, gives_the_masks_back_however_it_ends) {
  const bytes one = diag_frame(cell_info);
  bytes many;
  for (int i = 0; i < 100; ++i) many = many + one;
  const std::string pipe = file("pipe");
  enum class reader { stays, stalls, leaves };
  const struct {
    const char* what;
    std::vector<std::string> more;
    bytes sent;
    reader does;
    int signal;  // unless 0
    int exit_status;
    const char* error;
  } rows[] = {
      {"SIGINT", {}, {}, reader::stays, SIGINT, 0, ""},
      {"SIGTERM", {}, {}, reader::stays, SIGTERM, 0, ""},
      {"SIGHUP", {}, {}, reader::stays, SIGHUP, 0, ""},
      {"nothing comes", {"-o", pipe}, {}, reader::leaves, 0, 1, "Broken pipe\n"},
      {"--save", {"--save", pipe}, one, reader::leaves, 0, 1, "pipe: Broken pipe\n"},
      {"stalled", {"-o", pipe}, many, reader::stalls, SIGINT, 1, "stalled; the rest is lost\n"},
      {"full", {"-o", "/dev/full"}, one, reader::stays, 0, 1, "No space left on device\n"},
  };
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const auto at_pipe = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const auto size = fcntl(at_pipe, F_SETPIPE_SZ, 4096);
    live_port modem;
    background_process live(TVK_DECODE_PROGRAM, modem.arguments(row.more));
    ASSERT_TRUE(modem.wait_for(reports_on, 1));
    if (row.does == reader::leaves) close(at_pipe);
    modem.port.write(row.sent);
    int waiting = 0;
    const auto is_full = [&] { return ioctl(at_pipe, FIONREAD, &waiting) == 0 && waiting == size; };
    EXPECT_TRUE(row.does != reader::stalls || eventually(is_full));
    if (row.signal != 0) live.send_signal(row.signal);
    const auto ended = live.wait();
    if (row.does != reader::leaves) close(at_pipe);
    EXPECT_EQ(ended.exit_status, row.exit_status);
    EXPECT_TRUE(ended.errors.ends_with(row.error)) << ended.errors;
    EXPECT_EQ(modem.logs(hex("01000000")), live_port::logs_before);
    EXPECT_EQ(modem.logs(hex("0B000000")), live_port::logs_before);
    EXPECT_EQ(modem.events(), live_port::events_before);
    EXPECT_FALSE(modem.beginning_with(reports_off).empty());
  }
}

TEST_F(tvk_decode_live, save_makes_its_file_when_there_is_a_port_and_replaces_none_unasked) {
  const auto kept = made("kept.qmdl", capture);
  const std::string content(capture.begin(), capture.end());
  const auto no_port = decode({"--live", "unix:" + file("none"), "--save", kept, "--force"});
  EXPECT_EQ(no_port.exit_status, 1);
  EXPECT_EQ(read_file(kept), content);
  live_port modem;
  const auto refused = decode(modem.arguments({"--save", kept}));
  EXPECT_EQ(refused.exit_status, 1);
  EXPECT_EQ(refused.errors, "tvk-decode: " + kept + ": the file exists; --force replaces it\n");
  EXPECT_EQ(read_file(kept), content);
  EXPECT_TRUE(modem.port.requests().empty());
  background_process live(TVK_DECODE_PROGRAM, modem.arguments({"--save", kept, "--force"}));
  ASSERT_TRUE(modem.wait_for(reports_on, 1));
  EXPECT_EQ(status_after(SIGTERM, live), 0);
  EXPECT_TRUE(read_file(kept).starts_with("\x73"));  // the first answer
}

TEST_F(tvk_decode_live, signalling_is_asked_for_and_sent_as_datagrams) {
  const int wireshark = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  ASSERT_EQ(bind(wireshark, reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(getsockname(wireshark, reinterpret_cast<sockaddr*>(&address), &size), 0);

  live_port modem;
  background_process live(TVK_DECODE_PROGRAM,
                          {"--live", modem.port.endpoint(), "-f", "none", "--code", "0xB0C0,0xB821",
                           "--gsmtap", "127.0.0.1:" + std::to_string(ntohs(address.sin_port))});
  ASSERT_TRUE(modem.wait_for(log_mask, 1));
  const auto wanted = modem.beginning_with(log_mask)[0];
  EXPECT_EQ(wanted[16 + 0x0C0 / 8], 0x01);
  EXPECT_EQ(wanted[16 + 0x821 / 8], 0x02);
  modem.port.write(diag_frame(nr_message) + diag_frame(lte_message));
  bytes got(100);
  const auto count = recv(wireshark, got.data(), got.size(), 0);
  got.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  EXPECT_EQ(got, hex("02040D00 56940000 00000000 03000000 28"));
  EXPECT_EQ(status_after(SIGINT, live), 0);
  EXPECT_EQ(modem.logs(hex("0B000000")), live_port::logs_before);
  close(wireshark);
}

TEST_F(tvk_decode_live, records_come_from_a_simulated_modem_as_from_its_file) {
  bytes many;
  for (int i = 0; i < 300; ++i) many = many + diag_frame(cell_info) + diag_frame(events);
  const auto path = made("play.qmdl", many);
  const auto expected = decode({"-f", "jsonl", path}).output;
  simulated_modem modem({}, {"--play", path, "--rate", "0"});
  background_process live(TVK_DECODE_PROGRAM,
                          {"--live", "unix:" + modem.diag_socket(), "-f", "jsonl", "--save",
                           file("s.qmdl"), "-o", file("lines")});
  EXPECT_TRUE(wait_for_lines(expected));
  EXPECT_EQ(status_after(SIGTERM, live), 0);
  EXPECT_TRUE(decode({"-f", "jsonl", file("s.qmdl")}).output == expected);
}

/// The header of the answer to a request with this header.
std::string answer(const std::string& header, const std::string& url) {
  return run("curl", {"-s", "-D", "-", "-o", "/dev/null", "-H", header, url}).output;
}

class browser : public background_process {
 public:
  explicit browser(const std::string& url) : background_process("curl", {"-sN", url + "events"}) {}
  bool gets(const std::string& text) { return wait_for_output_text(text); }
};

/// Of a thousand bytes.
bytes sip_message(const std::string& end) {
  return diag_frame(
      hex("1000 0404 0404 6E15 BE0C0B9E34DDD400 01010000 E803 E803 02000000 FF000000") +
      bytes(999 - end.size(), 'x') + ascii(end) + bytes{0});
}

TEST_F(tvk_decode_live, page_follows_the_port_for_several_browsers_whether_they_read_or_not) {
  EXPECT_EQ(decode({"--page", file("none")}).exit_status, 2);
  live_port modem;
  background_process live(TVK_DECODE_PROGRAM,
                          modem.arguments({"--page", "127.0.0.1:0", "-o", file("lines")}));
  ASSERT_TRUE(live.wait_for_error_text("/\n"));
  auto url = live.errors_so_far();
  url = url.substr(url.find("http://127.0.0.1:"), url.size() - 1 - url.find("http"));

  EXPECT_TRUE(answer("Host: rebound.example", url).starts_with("HTTP/1.1 403 "));
  EXPECT_EQ(run("curl", {"-s", "-w", "%{http_code}", "-d", "text", url}).output, "405");
  EXPECT_PRED2(contains, answer("Accept: */*", url),
               "; connect-src 'self'; frame-ancestors 'none'\r\n");

  std::list<browser> all;
  EXPECT_TRUE(all.emplace_back(url).gets("event: whole\ndata: {"));
  modem.port.write(diag_frame(cell_info));
  EXPECT_TRUE(all.front().gets(R"("pci":289)"));
  EXPECT_TRUE(all.emplace_back(url).gets(R"("pci":289)"));
  auto next_cell = cell_info;
  next_cell[17] = 0x22;
  modem.port.write(diag_frame(next_cell));
  for (auto& one : all) EXPECT_TRUE(one.gets(R"(149772,"radio":1,"from":0,"to":1,)"));
  modem.port.close_connection();
  EXPECT_TRUE(all.front().gets(R"("port_is_open":true,"port_losses":1)"));

  while (all.size() < 16) EXPECT_TRUE(all.emplace_back(url).gets("event: whole"));
  EXPECT_TRUE(answer("Accept: */*", url + "events").starts_with("HTTP/1.1 503 "));
  while (all.size() > 2) all.pop_back();
  EXPECT_TRUE(eventually([&] { return browser(url).gets("event: whole"); }));

  // What it has to take is more than the system holds for it. Decoding goes on while it is there.
  browser slow(url);
  EXPECT_TRUE(slow.gets("event: whole"));
  slow.send_signal(SIGSTOP);
  for (const char* const last : {"half", "last"}) {
    for (int i = 0; i < 500; ++i) modem.port.write(sip_message(""));
    modem.port.write(sip_message(last));
    for (auto& one : all) EXPECT_TRUE(one.gets(last));
  }
  slow.send_signal(SIGCONT);
  EXPECT_TRUE(slow.gets("last"));
  EXPECT_EQ(status_after(SIGINT, live), 0);
  EXPECT_TRUE(all.front().gets("event: end\n"));
}

}  // namespace
