// Captures that tvk-modem plays: whole, in order, and to each client as its masks say.
#include <sys/stat.h>

#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <utility>

#include "support/diag_client.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

class tvk_modem_play : public testing::Test {
 protected:
  std::string made(const std::string& name, const bytes& content) {
    std::ofstream(dir.file(name), std::ios::binary) << std::string(content.begin(), content.end());
    return dir.file(name);
  }
  /// Plays at once, or what the options say; its time is held until then.
  simulated_modem player(const bytes& file, std::vector<std::string> more = {"--rate", "0"}) {
    more.insert(more.end(), {"--play", made("capture", file), "--hold-time"});
    return simulated_modem({}, std::move(more));
  }

  const temp_dir dir;
};
constexpr int quiet = 1500;  ///< ms before a client that asks for packets gets the first

/// Nothing has come before the answer to 1C.
void expect_nothing_more(diag_client& client) {
  EXPECT_EQ(client.ask(hex("1C")), hex("1C 0800"));
}

void want_everything(diag_client& client) {
  for (const std::uint32_t equipment : {1U, 4U, 5U, 7U, 10U, 11U, 13U}) {
    client.ask(hex("73000000 03000000") + u32(equipment) + hex("00100000 FF*512"));
  }
  client.ask(hex("60 01"));
}

std::vector<bytes> receive(diag_client& client, std::size_t count) {
  std::vector<bytes> packets;
  while (packets.size() < count) packets.push_back(client.receive());
  return packets;
}

// Of 2016-03-23.
const bytes first = hex("10 00 1000 1000 C2B0 28B79C9C34DDD400 01020304");
const bytes wrapped = hex("98 01 0000 02000000 10 00 1000 1000 93B1 28B79C9C34DDD400 7D7E0000");
const bytes report = hex("60 1400 4A46 BE0C0A9E34DDD400 0689  4686 0F0D 0A84 1F0D");
const bytes last = hex("10 00 1000 1000 7941 28B79C9C34DDD400 01020304");

/// With half a frame at either end, a message, and a log whose CRC is wrong.
const bytes capture = hex("AABB 7E") + diag_frame(first) + diag_frame(hex("79 00 0000")) + first +
                      hex("0000 7E") + diag_frame(wrapped) + diag_frame(report) + diag_frame(last) +
                      hex("10 00 10");

TEST_F(tvk_modem_play, logs_and_events_come_as_they_are) {
  auto modem = player(capture);
  diag_client all(modem.diag_socket());
  diag_client some(modem.diag_socket());
  want_everything(all);
  // Event 1610 is not wanted: the other two, whose times were relative to it, get full ones.
  some.ask(hex("82 00 0000 0010 FF*201 FB FF*310"));
  some.ask(hex("60 01"));

  modem.let_pass(quiet);
  EXPECT_EQ(receive(all, 4), (std::vector<bytes>{first, wrapped, report, last}));
  EXPECT_EQ(some.receive(), hex("60 1400 4606 000F0D9E34DDD400 0A04 001F0D9E34DDD400"));
  for (diag_client* const each : {&all, &some}) expect_nothing_more(*each);

  // A client that asks again after it wanted nothing gets the capture from its start.
  all.ask(hex("60 00"));
  all.ask(hex("73000000 00000000"));
  want_everything(all);
  modem.let_pass(quiet);
  EXPECT_EQ(all.receive(), first);
}

std::int64_t unix_seconds(const bytes& packet, std::size_t at) {
  std::uint64_t time = 0;
  for (std::size_t i = 8; i-- > 0;) time = time << 8 | packet.at(at + i);
  return static_cast<std::int64_t>((time >> 16) / 800) + 315964800;
}

TEST_F(tvk_modem_play, rate_and_times_are_those_of_the_playing) {
  auto modem = player(capture, {"--rate", "20", "--play-now"});
  diag_client client(modem.diag_socket());
  want_everything(client);
  const std::int64_t first_second = std::time(nullptr);
  modem.let_pass(quiet);
  modem.let_pass(100);
  auto packets = receive(client, 3);
  modem.let_pass(49);
  expect_nothing_more(client);  // a twentieth of a second apart
  modem.let_pass(1);
  packets.push_back(client.receive());
  const std::int64_t last_second = std::time(nullptr);
  // Log, wrapped log, both times of the report, log.
  for (const auto& [packet, at] :
       {std::pair<std::size_t, std::size_t>(0, 8), {1, 16}, {2, 5}, {2, 17}, {3, 8}}) {
    const auto second = unix_seconds(packets.at(packet), at);
    EXPECT_TRUE(first_second <= second && second <= last_second) << packet;
  }
}

TEST_F(tvk_modem_play, gaps_are_those_of_the_time_stamps_and_ten_seconds_at_most) {
  // In ticks of 1.25 ms: 0.25 s later, 20 ms earlier, a day later.
  std::vector<bytes> packets;
  bytes stream;
  for (const std::uint32_t ticks : {0U, 200U, 184U, 69120184U}) {
    packets.push_back(hex("10 00 0C00 0C00 C2B0 0000") + u32(ticks) + hex("0100"));
    stream = stream + diag_frame(packets.back());
  }
  auto modem = player(stream, {});
  diag_client client(modem.diag_socket());
  want_everything(client);
  modem.let_pass(quiet);
  EXPECT_EQ(client.receive(), packets[0]);
  modem.let_pass(249);
  expect_nothing_more(client);
  modem.let_pass(1);
  EXPECT_EQ(receive(client, 2), std::vector(packets.begin() + 1, packets.end() - 1));
  modem.let_pass(9999);
  expect_nothing_more(client);
  modem.let_pass(1);
  EXPECT_EQ(client.receive(), packets[3]);
}

TEST_F(tvk_modem_play, slow_client_gets_all_and_delays_no_other) {
  constexpr std::size_t count = 20000;
  bytes stream;
  std::vector<bytes> packets;
  const bytes head = hex("10 00 D000 D000 C2B0 28B79C9C34DDD400");
  for (std::size_t i = 0; i < count; ++i) {
    packets.push_back(head + bytes(196, static_cast<std::uint8_t>(i % 251)));
    std::ranges::copy(diag_frame(packets.back()), std::back_inserter(stream));
  }
  auto modem = player(stream);
  diag_client slow(modem.diag_socket());
  diag_client fast(modem.diag_socket());
  want_everything(slow);
  want_everything(fast);
  modem.let_pass(quiet);
  EXPECT_TRUE(receive(fast, count) == packets);
  EXPECT_TRUE(receive(slow, count) == packets);
  expect_nothing_more(slow);
}

TEST_F(tvk_modem_play, file_without_packets_is_refused_and_a_pipe_can_be_waited_for_and_left) {
  const auto serve = [this](const std::string& name) {
    return std::vector<std::string>{"serve",       "--socket", dir.file("s"), "--state",
                                    dir.file("d"), "--play",   name};
  };
  for (const std::string& name : {made("noise", bytes(5000, 0x33)), dir.file("nowhere"), dir.path(),
                                  std::string("/dev/zero")}) {
    const auto ended = run(TVK_MODEM_PROGRAM, serve(name));
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_PRED2(contains, ended.errors, name);
  }
  ASSERT_EQ(::mkfifo(dir.file("pipe").c_str(), 0600), 0);
  background_process modem(TVK_MODEM_PROGRAM, serve(dir.file("pipe")));
  const std::ofstream writer(dir.file("pipe"));  // opens when the modem does
  modem.send_signal(SIGTERM);
  EXPECT_FALSE(modem.wait().timed_out);
  EXPECT_FALSE(std::filesystem::exists(dir.file("s")));
}

}  // namespace
