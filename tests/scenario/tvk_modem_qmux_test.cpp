// QMUX on a stream socket, frame by frame: marker, length, flags, service, client, message.
#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

#include "support/eventually.h"
#include "support/modem_connection.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;
using namespace support::packets;

/// A client of the socket, or of the terminal.
class stream : public open_socket {
 public:
  explicit stream(int descriptor) : open_socket(descriptor) {}
  explicit stream(const std::string& path) : open_socket(connected(path, SOCK_STREAM)) {}

  /// Nothing when the modem closed the connection, or says nothing for half a minute.
  [[nodiscard]] bytes receive(std::size_t size) const {
    bytes all;
    while (all.size() < size && readable()) {
      bytes piece(size - all.size());
      const ssize_t got = ::read(descriptor_, piece.data(), piece.size());
      if (got <= 0) return {};
      all = all + padded(piece, static_cast<std::size_t>(got));
    }
    return all;
  }
  /// How many bytes the modem has to read (SIOCOUTQ), or the client (FIONREAD).
  [[nodiscard]] int unread(unsigned long whose) const {
    int size = 0;
    return ::ioctl(descriptor_, whose, &size) == 0 ? size : -1;
  }
  /// What comes, as long as it is as long as `expected`.
  void expect_answer(const std::string& request, const std::string& expected) const {
    SCOPED_TRACE(request);
    write(hex(request));
    EXPECT_EQ(receive(hex(expected).size()), hex(expected));
  }
};

constexpr const char* allocate_sar = "01 0f00 00 00 00  00 07 2200 0400  01 0100 11";
constexpr const char* sar_client_1 =
    "01 1700 80 00 00  01 07 2200 0c00  02 0400 00000000  01 0200 11 01";
constexpr const char* ask_client_1 = "01 0c00 00 11 01  00 0100 0200 0000";
constexpr const char* state_to_client_1 =
    "01 1a00 80 11 01  02 0100 0200 0e00  02 0400 0000 0000  10 0400 00000000";
constexpr const char* sync = "01 0b00 00 00 00  00 08 2700 0000";
constexpr const char* sync_answer = "01 1200 80 00 00  01 08 2700 0700  02 0400 00000000";

class tvk_modem_qmux : public testing::Test {
 protected:
  temp_dir dir_;
  std::string path_ = dir_.file("qmux_socket");
  simulated_modem modem_{{"sar/0x0009=down:100"}, {"--qmux", path_, "--hold-time"}};
};

TEST_F(tvk_modem_qmux, control_hands_out_clients_and_refuses_what_it_cannot_do) {
  const stream one(path_);
  one.expect_answer("01 1700 00 00 00  00 01 00ff 0c00  01 0900 2f6465762f6e756c6c",
                    "01 1200 80 00 00  01 01 00ff 0700  02 0400 00000000");
  one.expect_answer("01 1000 00 00 00  00 02 2600 0500  10 0200 0100",
                    "01 1700 80 00 00  01 02 2600 0c00  02 0400 00000000  10 0200 0100");
  one.expect_answer(allocate_sar, sar_client_1);
  one.expect_answer(ask_client_1, state_to_client_1);

  const stream two(path_);
  two.expect_answer(allocate_sar,
                    "01 1700 80 00 00  01 07 2200 0c00  02 0400 00000000  01 0200 11 02");
  // A client is its id's, whichever connection uses it.
  two.expect_answer(ask_client_1, state_to_client_1);
  two.expect_answer("01 0c00 00 11 03  00 0100 0200 0000",
                    "01 1300 80 11 03  02 0100 0200 0700  02 0400 0100 0700");
  const std::pair<const char*, const char*> refused[] = {
      {"01 0f00 00 00 00  00 03 2200 0400  01 0100 7f", "03 2200 0700  02 0400 0100 1f00"},
      {"01 0b00 00 00 00  00 04 2200 0000", "04 2200 0700  02 0400 0100 1100"},
      {"01 1000 00 00 00  00 05 2300 0500  01 0200 11 03", "05 2300 0700  02 0400 0100 0700"},
      {"01 0f00 00 00 00  00 06 2200 0400  01 0500 11", "06 2200 0700  02 0400 0100 0100"},
      {"01 0b00 00 00 00  00 09 22ff 0000", "09 22ff 0700  02 0400 0100 4700"},
  };
  for (const auto& [request, answer] : refused) {
    two.expect_answer(request, std::string("01 1200 80 00 00  01 ") + answer);
  }
  two.expect_answer("01 1000 00 00 00  00 0a 2300 0500  01 0200 11 02",
                    "01 1700 80 00 00  01 0a 2300 0c00  02 0400 00000000  01 0200 11 02");

  // The 8-bit number is the statistics service's; the extension service's, 0xFFE4, only ends in it.
  two.expect_answer("01 0f00 00 00 00  00 0b 2200 0400  01 0100 e4",
                    "01 1700 80 00 00  01 0b 2200 0c00  02 0400 00000000  01 0200 e4 01");
  two.expect_answer("01 0c00 00 e4 01  00 0100 0702 0000",
                    "01 1300 80 e4 01  02 0100 0702 0700  02 0400 0100 1100");

  // A client outlives its service's outage; nobody becomes one meanwhile.
  const modem_connection watcher(modem_.socket());
  EXPECT_EQ(watcher.look_up(look_up_all), listed(all_up));
  const std::string goes_down = "01 0c00 00 11 01  00 0100 0900 0000";
  one.expect_answer(goes_down + allocate_sar,
                    "01 1200 80 00 00  01 07 2200 0700  02 0400 0100 1f00");
  EXPECT_EQ(watcher.receive(), sar_down);
  modem_.let_pass(100);
  EXPECT_EQ(watcher.receive(), sar_up);
  one.expect_answer(ask_client_1, state_to_client_1);
  one.expect_answer(sync, sync_answer);
  one.expect_answer(ask_client_1, "01 1300 80 11 01  02 0100 0200 0700  02 0400 0100 0700");
  one.expect_answer(allocate_sar, sar_client_1);
}

TEST_F(tvk_modem_qmux, frames_come_in_any_pieces_and_anything_else_ends_the_connection) {
  const stream client(path_);
  client.expect_answer(allocate_sar, sar_client_1);
  for (const std::uint8_t each : hex(ask_client_1)) {
    client.write({each});
    EXPECT_TRUE(eventually([&] { return client.unread(SIOCOUTQ) == 0; }));
  }
  EXPECT_EQ(client.receive(hex(state_to_client_1).size()), hex(state_to_client_1));
  client.expect_answer(ask_client_1 + std::string(sync),
                       state_to_client_1 + std::string(sync_answer));

  for (const char* const broken : {"02 0b00", "01 0400 00 00 00"}) {
    const stream other(path_);
    other.expect_answer(broken, "");
    EXPECT_EQ(other.receive(1), bytes());
  }
  client.expect_answer(sync, sync_answer);
}

TEST_F(tvk_modem_qmux, service_has_254_clients_which_outlive_their_connection) {
  auto client = std::make_unique<stream>(path_);
  for (unsigned id = 1; id <= 254; ++id) {
    client->write(hex(allocate_sar));
    ASSERT_EQ(client->receive(24).back(), id);
  }
  client.reset();
  const stream next(path_);
  next.expect_answer(allocate_sar, "01 1200 80 00 00  01 07 2200 0700  02 0400 0100 0500");
  next.expect_answer(ask_client_1, state_to_client_1);
  next.expect_answer(sync, sync_answer);
  next.expect_answer(allocate_sar, sar_client_1);
}

constexpr const char* allocate_uim = "01 0f00 00 00 00  00 01 2200 0400  01 0100 0b";
constexpr const char* uim_client_1 =
    "01 1700 80 00 00  01 01 2200 0c00  02 0400 00000000  01 0200 0b 01";

TEST(tvk_modem_qmux_pty, clients_and_channels_stay_while_users_of_the_terminal_come_and_go) {
  const temp_dir dir;
  const std::string link = dir.file("cdc-wdm0");
  const simulated_modem modem({}, {"--qmux-pty", link});
  const auto open = [&] { return ::open(link.c_str(), O_RDWR | O_NOCTTY); };
  {
    const stream first(open());
    first.expect_answer(allocate_uim, uim_client_1);
    // Opens a channel to the USIM of the first slot.
    first.expect_answer(
        "01 1b00 00 0b 01  00 0100 4200 0f00  01 0100 01  10 0800 07 a0000000871002",
        "01 2200 80 0b 01  02 0100 4200 1600  02 0400 00000000  10 0100 01  11 0200 9000"
        "12 0300 02 9000");
    // Leaves an answer unread.
    first.write(hex("01 0b00 00 00 00  00 02 2100 0000"));
    EXPECT_TRUE(first.readable());
  }
  const stream second(open());
  EXPECT_TRUE(eventually([&] { return second.unread(FIONREAD) == 0; }));
  // An instruction that the USIM does not know, on the channel.
  second.expect_answer(
      "01 1d00 00 0b 01  00 0200 3b00 1100  01 0100 01  02 0600 0400 00ff0000  10 0100 01",
      "01 1a00 80 0b 01  02 0200 3b00 0e00  02 0400 00000000  10 0400 0200 6d00");
}

}  // namespace
