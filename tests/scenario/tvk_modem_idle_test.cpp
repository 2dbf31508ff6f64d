// A modem that is asked for nothing uses no processor time, however its clients left.
// TVK_IDLE_WINDOW sets for how many milliseconds it is watched.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>

#include "support/diag_client.h"
#include "support/modem_connection.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

std::chrono::milliseconds window() {
  const char* const set = std::getenv("TVK_IDLE_WINDOW");
  return std::chrono::milliseconds(set == nullptr ? 250 : std::atoi(set));
}

int terminal(const std::string& path) {
  return ::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
}

TEST(tvk_modem_idle, is_at_rest_before_and_after_clients_of_each_port) {
  const temp_dir dir;
  simulated_modem modem({}, {"--trace", "--diag-pty", dir.file("tty"), "--at-device",
                             dir.file("at"), "--qmux", dir.file("qmux")});
  EXPECT_TRUE(modem.process().comes_to_rest(window())) << "before the first client";

  // All logs of equipment 11, then the version, and half a request.
  const bytes asks_much = diag_frame(hex("73 000000 03000000 0B000000 08000000 FF")) +
                          diag_frame(hex("00")) + hex("1C 00");
  const struct {
    const char* port;
    std::function<int()> open;
    bytes asks;
  } rows[] = {
      {"modem socket", [&] { return connected(modem.socket(), SOCK_SEQPACKET); },
       packets::look_up_all},
      {"QMUX", [&] { return connected(dir.file("qmux"), SOCK_STREAM); },
       hex("01 0f00 00 00 00  00 07 2200 0400  01 0100 11 01")},
      {"DIAG socket", [&] { return connected(modem.diag_socket(), SOCK_STREAM); }, asks_much},
      {"DIAG terminal", [&] { return terminal(dir.file("tty")); }, asks_much},
      {"AT terminal", [&] { return terminal(dir.file("at")); }, hex("41540D 4154")},
  };
  int clients = 0;
  for (const auto& each : rows) {
    SCOPED_TRACE(each.port);
    // The first says nothing, and none reads what it asked for.
    for (const bool speaks : {false, true, true}) {
      const int client = each.open();
      ASSERT_GE(client, 0);
      ::ioctl(client, TIOCEXCL);
      if (speaks) {
        EXPECT_EQ(::write(client, each.asks.data(), each.asks.size()),
                  static_cast<ssize_t>(each.asks.size()));
      }
      ::close(client);
      ++clients;
    }
    EXPECT_TRUE(modem.process().comes_to_rest(window()));
  }
  const std::string said = modem.stop();
  int lines = 0;
  for (std::size_t at = 0; (at = said.find(" connects\n", at)) != std::string::npos; ++at) ++lines;
  EXPECT_LE(lines, clients);
}

}  // namespace
