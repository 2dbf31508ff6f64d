// The AT channel of tvk-modem, over its pseudo-terminal.
#include <termios.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "support/eventually.h"
#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/sockets.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

class terminal : public open_socket {
 public:
  explicit terminal(const std::string& path) : open_socket(terminal_at(path)) {
    // Answers that the client before did not read.
    ::tcflush(descriptor_, TCIFLUSH);
  }

  void send(const std::string& text) const { write(ascii(text)); }

  /// Sends the text and reads as far as `end`, or what comes in half a minute.
  [[nodiscard]] std::string ask(const std::string& text, const std::string& end) const {
    send(text);
    std::string answer;
    while (!answer.ends_with(end) && readable()) {
      std::array<char, 256> buffer{};
      const ssize_t size = ::read(descriptor_, buffer.data(), buffer.size());
      if (size <= 0) break;
      answer.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return answer;
  }
  void expect(const std::string& text, const std::string& answer) const {
    EXPECT_EQ(ask(text, answer), answer) << text;
  }
};

class tvk_modem_at : public testing::Test {
 protected:
  const temp_dir dir_;
  const std::string path_ = dir_.file("at");
  simulated_modem modem_{{}, {"--trace", "--at-device", path_}};
};

TEST_F(tvk_modem_at, commands_are_answered_line_by_line) {
  const terminal at(path_);
  at.expect("AT\r", "AT\r\r\nOK\r\n");  // echoes at first
  at.expect("ate0\r", "ate0\r\r\nOK\r\n");
  const std::pair<const char*, const char*> rows[] = {
      {"AT+CGSN", "001017001234569\r\n\r\nOK"},
      {"at+cpin?", "+CPIN: READY\r\n\r\nOK"},
      {"AT+CREG?", "+CREG: 0,1\r\n\r\nOK"},
      {"AT+COPS?", "+COPS: 0,2,\"00101\",7\r\n\r\nOK"},
      {"AT+CEREG=2;+CEREG?", "+CEREG: 2,1,\"05D6\",\"01BC7400\",7\r\n\r\nOK"},
      {"ATV1X4+CCID;+CIMI", "+CCID: 8900101000000000035\r\n\r\n001010123456789\r\n\r\nOK"},
      {"AT+CGDCONT=2,\"IP\",\"ims\"", "OK"},
      {"AT+CGDCONT?",
       "+CGDCONT: 1,\"IPV4V6\",\"internet\",\"\",0,0\r\n+CGDCONT: "
       "2,\"IP\",\"ims\",\"\",0,0\r\n\r\nOK"},
      {"AT+CFUN=4", "OK"},
      {"AT+CFUN?", "+CFUN: 4\r\n\r\nOK"},
      {"AT+CREG?", "+CREG: 0,0\r\n\r\nOK"},
      {"AT+CESQ", "+CESQ: 99,99,255,255,255,255\r\n\r\nOK"},
      {"AT+CFUN=2", "+CME ERROR: 50"},
      {"AT+CMEE=2;+CFUN=2", "+CME ERROR: incorrect parameters"},
      {"AT+CMEE=0;+CSQ;+CFUN=2", "+CSQ: 99,99\r\n\r\nERROR"},
      {"ATZE0;+CMEE?", "+CMEE: 1\r\n\r\nOK"},
      {"AT+NONE", "ERROR"},
      {"A", "ERROR"},
      {"AT=", "ERROR"},
  };
  for (const auto& [line, answer] : rows) {
    at.expect(std::string(line) + "\r", "\r\n" + std::string(answer) + "\r\n");
  }
  at.expect("AT" + std::string(600, 'Z') + "\r\n\r\n", "\r\nERROR\r\n");  // too long
  at.send("A");
  at.expect("T\nAT+NONE\r\n", "\r\nOK\r\n\r\nERROR\r\n");  // halves, and two at once
}

TEST_F(tvk_modem_at, survives_writers_that_never_read) {
  const std::string echo = "for i in 1 2 3; do echo \"AT+CGSN\\r\" > \"$0\"; done";
  EXPECT_EQ(run("sh", {"-c", echo, path_}).exit_status, 0);
  EXPECT_TRUE(modem_.process().wait_for_error_text("AT <- 001017001234569 |  | OK\n"));
  {
    const terminal deaf(path_);
    ASSERT_EQ(::ioctl(deaf.descriptor(), TIOCEXCL), 0);
    for (int i = 0; i < 20000; ++i) deaf.send("ATI\r");
    deaf.send("AT+LAST\r");
    EXPECT_TRUE(modem_.process().wait_for_error_text("AT -> AT+LAST\n"));
  }
  const terminal at(path_);
  // Opening it would prove nothing: root always can.
  EXPECT_TRUE(eventually([&] { return !is_exclusive(at.descriptor()); }));
  const std::string end = "+CFUN: 1\r\n\r\nOK\r\n";
  EXPECT_TRUE(at.ask("ATE0\rAT+CFUN?\r", end).ends_with(end));
}

TEST_F(tvk_modem_at, link_of_a_killed_modem_is_replaced_and_nothing_else) {
  const auto expect_refusal = [this](const std::string& reason) {
    const temp_dir other;
    const auto ended = run(TVK_MODEM_PROGRAM, {"serve", "--socket", other.file("s"), "--state",
                                               other.file("state"), "--at-device", path_});
    EXPECT_EQ(ended.errors, "tvk-modem: " + reason + "\n");
  };
  expect_refusal("another modem already listens on " + path_);
  modem_.kill();
  ASSERT_TRUE(std::filesystem::is_symlink(path_));
  modem_.start();
  terminal(path_).expect("AT\r", "AT\r\r\nOK\r\n");
  modem_.stop();
  EXPECT_TRUE(std::filesystem::is_empty(dir_.path()));

  const auto expect_in_the_way = [&](const std::string& what) {
    expect_refusal(path_ + " exists, " + what +
                   ", and is not the terminal of a modem that was killed");
  };
  std::ofstream(path_) << "mine";
  expect_in_the_way("a plain file");
  EXPECT_EQ(std::filesystem::file_size(path_), 4U);
  for (const char* target : {"/dev/null", "/dev/pts/0"}) {
    std::filesystem::remove(path_);
    std::filesystem::create_symlink(target, path_);
    expect_in_the_way(std::string("a link to ") + target);
    EXPECT_EQ(std::filesystem::read_symlink(path_), target);
  }
}

}  // namespace
