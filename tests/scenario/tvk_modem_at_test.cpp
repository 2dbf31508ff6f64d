// The AT channel of tvk-modem, over its pseudo-terminal.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <utility>

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
  explicit terminal(const std::string& path)
      : open_socket(::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    // Answers that the client before did not read.
    ::tcflush(descriptor_, TCIFLUSH);
  }

  void take_for_itself() const { ASSERT_EQ(::ioctl(descriptor_, TIOCEXCL), 0); }
  /// Waits until it is not exclusive. Opening it would prove nothing: root always can.
  [[nodiscard]] bool is_shared() const {
    return eventually([this] { return !is_exclusive(descriptor_); });
  }

  void send(const std::string& text) const { write(ascii(text)); }

  /// Up to `end`, or what came in half a minute.
  [[nodiscard]] std::string receive(const std::string& end) const {
    std::string text;
    while (!text.ends_with(end) && readable()) {
      std::array<char, 256> buffer{};
      const ssize_t size = ::read(descriptor_, buffer.data(), buffer.size());
      if (size <= 0) break;
      text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return text;
  }
};

std::vector<std::string> at_options(const temp_dir& dir) {
  return {"--trace", "--at-device", dir.file("at")};
}

TEST(tvk_modem_at, commands_are_answered_line_by_line) {
  const temp_dir dir;
  const simulated_modem modem({}, at_options(dir));
  const terminal at(dir.file("at"));
  at.send("AT\r");
  EXPECT_EQ(at.receive("OK\r\n"), "AT\r\r\nOK\r\n") << "echoes at first";
  at.send("ate0\r");
  EXPECT_EQ(at.receive("OK\r\n"), "ate0\r\r\nOK\r\n");
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
    at.send(std::string(line) + "\r");
    const std::string expected = "\r\n" + std::string(answer) + "\r\n";
    EXPECT_EQ(at.receive(expected), expected) << line;
  }
  at.send(std::string(600, 'A') + "\r\n\r\n");
  EXPECT_EQ(at.receive("ERROR\r\n"), "\r\nERROR\r\n");
  at.send("A");
  at.send("T\nAT+NONE\r\n");
  EXPECT_EQ(at.receive("ERROR\r\n"), "\r\nOK\r\n\r\nERROR\r\n") << "halves, and two at once";
}

TEST(tvk_modem_at, survives_writers_that_never_read) {
  const temp_dir dir;
  simulated_modem modem({}, at_options(dir));
  const std::string echo = "for i in 1 2 3; do echo \"AT+CGSN\\r\" > \"$0\"; done";
  EXPECT_EQ(run("sh", {"-c", echo, dir.file("at")}).exit_status, 0);
  EXPECT_TRUE(modem.process().wait_for_error_text("AT <- 001017001234569 |  | OK\n"));
  {
    const terminal deaf(dir.file("at"));
    deaf.take_for_itself();
    for (int i = 0; i < 20000; ++i) deaf.send("ATI\r");
    deaf.send("AT+LAST\r");
    EXPECT_TRUE(modem.process().wait_for_error_text("AT -> AT+LAST\n"));
  }
  const terminal at(dir.file("at"));
  EXPECT_TRUE(at.is_shared());
  at.send("ATE0\rAT+CFUN?\r");
  EXPECT_TRUE(at.receive("+CFUN: 1\r\n\r\nOK\r\n").ends_with("+CFUN: 1\r\n\r\nOK\r\n"));
}

TEST(tvk_modem_at, link_of_a_killed_modem_is_replaced_and_nothing_else) {
  const temp_dir dir;
  const std::string path = dir.file("at");
  simulated_modem modem({}, at_options(dir));
  const auto refusal = [&] {
    const temp_dir other;
    return run(TVK_MODEM_PROGRAM, {"serve", "--socket", other.file("s"), "--state",
                                   other.file("state"), "--at-device", path})
        .errors;
  };
  EXPECT_EQ(refusal(), "tvk-modem: another modem already listens on " + path + "\n");
  modem.kill();
  ASSERT_TRUE(std::filesystem::is_symlink(path));
  modem.start();
  {
    const terminal at(path);
    at.send("AT\r");
    EXPECT_EQ(at.receive("OK\r\n"), "AT\r\r\nOK\r\n");
  }
  modem.stop();
  EXPECT_TRUE(std::filesystem::is_empty(dir.path()));

  const auto in_the_way = [&path](const std::string& what) {
    return "tvk-modem: " + path + " exists, " + what +
           ", and is not the terminal of a modem that was killed\n";
  };
  std::ofstream(path) << "mine";
  EXPECT_EQ(refusal(), in_the_way("a plain file"));
  EXPECT_EQ(std::filesystem::file_size(path), 4U);
  for (const char* target : {"/dev/null", "/dev/pts/0"}) {
    std::filesystem::remove(path);
    std::filesystem::create_symlink(target, path);
    EXPECT_EQ(refusal(), in_the_way(std::string("a link to ") + target));
    EXPECT_EQ(std::filesystem::read_symlink(path), target);
  }
}

}  // namespace
