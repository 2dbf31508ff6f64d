// QMUX on a stream socket, frame by frame: marker, length, flags, service, client, message.
#include <linux/sockios.h>

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
  /// A message to a service and its client, and the TLVs of the answer.
  void ask(const char* to, const char* message, const char* tlvs, const bytes& answer) const {
    SCOPED_TRACE(std::string(to) + " " + message + " " + tlvs);
    // CTL's kinds of message and transactions are others.
    const bool is_control = hex(to)[0] == 0;
    const auto frame = [&](const char* flags, const char* head, const bytes& values) {
      const bytes whole =
          hex(flags) + hex(to) + hex(head) + hex(message) + u16(values.size()) + values;
      return hex("01") + u16(whole.size() + 2) + whole;
    };
    write(frame("00", is_control ? "00 07" : "00 0700", hex(tlvs)));
    const bytes expected = frame("80", is_control ? "01 07" : "02 0700", answer);
    EXPECT_EQ(receive(expected.size()), expected);
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
  one.ask("00 00", "00ff", "01 0900 '/dev/null'", done);
  one.ask("00 00", "2600", "10 0200 0100", done + hex("10 0200 0100"));
  one.expect_answer(allocate_sar, sar_client_1);
  one.expect_answer(ask_client_1, state_to_client_1);

  const stream two(path_);
  two.ask("00 00", "2200", "01 0100 11", done + hex("01 0200 11 02"));
  // A client is its id's, whichever connection uses it.
  two.expect_answer(ask_client_1, state_to_client_1);
  two.ask("11 03", "0200", "", failed("0700"));
  two.ask("00 00", "2200", "01 0100 7f", failed("1f00"));
  two.ask("00 00", "2200", "", failed("1100"));
  two.ask("00 00", "2300", "01 0200 11 03", failed("0700"));
  two.ask("00 00", "2200", "01 0500 11", failed("0100"));
  two.ask("00 00", "22ff", "", failed("4700"));
  two.ask("00 00", "2300", "01 0200 11 02", done + hex("01 0200 11 02"));
  // The 8-bit number is the statistics service's; the extension service's, 0xFFE4, only ends in it.
  two.ask("00 00", "2200", "01 0100 e4", done + hex("01 0200 e4 01"));
  two.ask("e4 01", "0702", "", failed("1100"));

  // A client outlives its service's outage; nobody becomes one meanwhile.
  const modem_connection watcher(modem_.socket());
  EXPECT_EQ(watcher.look_up(look_up_all), listed(all_up));
  one.write(hex("01 0c00 00 11 01  00 0100 0900 0000"));
  one.ask("00 00", "2200", "01 0100 11", failed("1f00"));
  EXPECT_EQ(watcher.receive(), sar_down);
  modem_.let_pass(100);
  EXPECT_EQ(watcher.receive(), sar_up);
  one.expect_answer(ask_client_1, state_to_client_1);
  one.expect_answer(sync, sync_answer);
  one.ask("11 01", "0200", "", failed("0700"));
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
    other.write(hex(broken));
    EXPECT_TRUE(other.readable() && other.receive(1).empty()) << "hangs up";
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
  next.ask("00 00", "2200", "01 0100 11", failed("0500"));
  next.expect_answer(ask_client_1, state_to_client_1);
  next.expect_answer(sync, sync_answer);
  next.expect_answer(allocate_sar, sar_client_1);
}

TEST(tvk_modem_qmux_pty, clients_and_channels_stay_while_users_of_the_terminal_come_and_go) {
  const temp_dir dir;
  const std::string link = dir.file("cdc-wdm0");
  const simulated_modem modem({}, {"--qmux-pty", link});
  {
    const stream first(terminal_at(link));
    first.ask("00 00", "2200", "01 0100 0b", done + hex("01 0200 0b 01"));
    // Opens a channel to the USIM of the first slot.
    first.ask("0b 01", "4200", "01 0100 01  10 0800 07 a0000000871002",
              done + hex("10 0100 01  11 0200 9000  12 0300 02 9000"));
    // Leaves an answer unread.
    first.write(hex("01 0b00 00 00 00  00 02 2100 0000"));
    EXPECT_TRUE(first.readable());
  }
  const stream second(terminal_at(link));
  EXPECT_TRUE(eventually([&] { return second.unread(FIONREAD) == 0; }));
  // An instruction that the USIM does not know, on the channel.
  second.ask("0b 01", "3b00", "01 0100 01  02 0600 0400 00ff0000  10 0100 01",
             done + hex("10 0400 0200 6d00"));
}

}  // namespace
