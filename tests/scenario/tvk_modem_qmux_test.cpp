// QMUX on a stream socket, frame by frame: marker, length, flags, service, client, message.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "support/bytes.h"
#include "support/eventually.h"
#include "support/modem_connection.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"

namespace {

using namespace support;
using namespace support::packets;

/// A client of a socket or of a terminal, by its descriptor.
class stream {
 public:
  explicit stream(int file) : file_(file) {}
  stream(const stream&) = delete;
  stream& operator=(const stream&) = delete;
  ~stream() { ::close(file_); }

  void send(const bytes& some) const {
    EXPECT_EQ(::write(file_, some.data(), some.size()), static_cast<ssize_t>(some.size()));
  }
  [[nodiscard]] bool has_answer() const { return readable(file_, std::chrono::seconds(30)); }
  /// Nothing when the modem closed the connection, or says nothing for half a minute.
  [[nodiscard]] bytes receive(std::size_t size) const {
    bytes all;
    while (all.size() < size && has_answer()) {
      bytes piece(size - all.size());
      const ssize_t got = ::read(file_, piece.data(), piece.size());
      if (got <= 0) return {};
      all.insert(all.end(), piece.begin(), piece.begin() + got);
    }
    return all;
  }
  /// How many bytes wait, in this direction.
  [[nodiscard]] int waiting(unsigned long direction) const {
    int size = 0;
    return ::ioctl(file_, direction, &size) == 0 ? size : -1;
  }
  /// What comes, as long as it is as long as `expected`.
  void expect_answer(const char* request, const char* expected) const {
    SCOPED_TRACE(request);
    send(hex(request));
    EXPECT_EQ(receive(hex(expected).size()), hex(expected));
  }

 private:
  int file_;
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
  simulated_modem modem_{
      {"sar/0x0009=down:100"}, simulated_modem::begin::at_once, {"--qmux", path_, "--hold-time"}};
};

TEST_F(tvk_modem_qmux, control_hands_out_clients_and_refuses_what_it_cannot_do) {
  const stream one(connected(path_, SOCK_STREAM));
  one.expect_answer("01 1700 00 00 00  00 01 00ff 0c00  01 0900 2f6465762f6e756c6c",
                    "01 1200 80 00 00  01 01 00ff 0700  02 0400 00000000");
  one.expect_answer("01 1000 00 00 00  00 02 2600 0500  10 0200 0100",
                    "01 1700 80 00 00  01 02 2600 0c00  02 0400 00000000  10 0200 0100");
  one.expect_answer(allocate_sar, sar_client_1);
  one.expect_answer(ask_client_1, state_to_client_1);

  const stream two(connected(path_, SOCK_STREAM));
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
    two.expect_answer(request, (std::string("01 1200 80 00 00  01 ") + answer).c_str());
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
  one.expect_answer((goes_down + allocate_sar).c_str(),
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
  const stream client(connected(path_, SOCK_STREAM));
  client.expect_answer(allocate_sar, sar_client_1);
  for (const std::uint8_t each : hex(ask_client_1)) {
    client.send({each});
    EXPECT_TRUE(eventually([&] { return client.waiting(SIOCOUTQ) == 0; }));
  }
  EXPECT_EQ(client.receive(hex(state_to_client_1).size()), hex(state_to_client_1));
  const std::string two = ask_client_1 + std::string(sync);
  client.expect_answer(two.c_str(), (state_to_client_1 + std::string(sync_answer)).c_str());

  for (const char* const broken : {"02 0b00", "01 0400 00 00 00"}) {
    const stream other(connected(path_, SOCK_STREAM));
    other.expect_answer(broken, "");
    EXPECT_EQ(other.receive(1), bytes());
  }
  client.expect_answer(sync, sync_answer);
}

TEST_F(tvk_modem_qmux, service_has_254_clients_which_outlive_their_connection) {
  auto client = std::make_unique<stream>(connected(path_, SOCK_STREAM));
  for (unsigned id = 1; id <= 254; ++id) {
    client->send(hex(allocate_sar));
    ASSERT_EQ(client->receive(24).back(), id);
  }
  client.reset();
  const stream next(connected(path_, SOCK_STREAM));
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
  const auto opened = [](const std::string& at) { return ::open(at.c_str(), O_RDWR | O_NOCTTY); };
  const simulated_modem modem({}, simulated_modem::begin::at_once, {"--qmux-pty", link});
  {
    const stream first(opened(link));
    first.expect_answer(allocate_uim, uim_client_1);
    // Opens a channel to the USIM of the first slot.
    first.expect_answer(
        "01 1b00 00 0b 01  00 0100 4200 0f00  01 0100 01  10 0800 07 a0000000871002",
        "01 2200 80 0b 01  02 0100 4200 1600  02 0400 00000000  10 0100 01  11 0200 9000"
        "12 0300 02 9000");
    // Leaves an answer unread.
    first.send(hex("01 0b00 00 00 00  00 02 2100 0000"));
    EXPECT_TRUE(first.has_answer());
  }
  const stream second(opened(link));
  EXPECT_TRUE(eventually([&] { return second.waiting(FIONREAD) == 0; }));
  // An instruction that the USIM does not know, on the channel.
  second.expect_answer(
      "01 1d00 00 0b 01  00 0200 3b00 1100  01 0100 01  02 0600 0400 00ff0000  10 0100 01",
      "01 1a00 80 0b 01  02 0200 3b00 0e00  02 0400 00000000  10 0400 0200 6d00");
}

}  // namespace
