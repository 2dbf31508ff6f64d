// Signalling for Wireshark as its users ask for it: files, pipes and datagrams.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/bytes.h"
#include "support/decode_run.h"
#include "support/eventually.h"

namespace {

using support::bytes;
using support::diag_frame;
using support::hex;
using support::operator+;

// An uplink message at EARFCN 5780, and an NR message, which GSMTAP cannot carry.
const bytes lte =
    hex("1000 2000 2000 C0B0 BE0C0A9E34DDD400 0F 0904 01 9501 94160000 0000 09 00*4 0100 28");
const bytes nr =
    hex("1000 2700 2700 21B8 BE0C0B9E34DDD400 "
        "08000000 0F60 FF C602 DE930600 18002802 01 00*4 0300 040506");
const bytes version_5 = hex("1000 1100 1100 C0B0 BE0C0A9E34DDD400 05 0904 01 95");

using tvk_decode_signalling = support::with_captures;

TEST_F(tvk_decode_signalling, file_has_what_filters_leave) {
  const auto path = made("a.qmdl", diag_frame(lte) + diag_frame(nr) + diag_frame(version_5));
  const auto to = file("a.pcapng");
  const auto run = [&](std::vector<std::string> more) {
    more.insert(more.end(), {"-f", "pcap", "-o", to, path});
    return support::run(TVK_DECODE_PROGRAM, more);
  };
  const auto all = run({"--summary"});
  for (const char* line :
       {"\n0xB0C0 version 5: 1 version not supported\n0xB0C0 version 15: 1 decoded\n",
        "\nsignalling lte-rrc.ul.dcch 1\nsignalling nr-rrc.bcch.bch 1\n"}) {
    EXPECT_NE(all.errors.find(line), std::string::npos) << line << all.errors;
  }
  EXPECT_EQ(std::filesystem::file_size(to), 52U + 48 + 140 + 68 + 152);
  EXPECT_EQ(run({"--code", "0xB821"}).exit_status, 0);
  EXPECT_EQ(std::filesystem::file_size(to), 52U + 68 + 152);
  // Nothing for this radio: still a file that Wireshark opens.
  EXPECT_EQ(run({"--radio", "2"}).exit_status, 0);
  EXPECT_EQ(std::filesystem::file_size(to), 52U);
  const auto piped = support::run(TVK_DECODE_PROGRAM, {"-f", "pcap", "-o", "-", path});
  EXPECT_EQ(piped.output.size(), 52U + 48 + 140 + 68 + 152);
  EXPECT_EQ(run({"--gsmtap"}).exit_status, 2);
  const auto no_port = support::run(TVK_DECODE_PROGRAM, {"--live", "unix:/none", "--gsmtap"});
  EXPECT_TRUE(no_port.errors.starts_with("tvk-decode: DIAG port unix:/none: ")) << no_port.errors;
  EXPECT_EQ(run({"--code", "0xB193"}).exit_status, 2);
  EXPECT_EQ(support::run(TVK_DECODE_PROGRAM, {"--comments", "-f", "jsonl", path}).exit_status, 2);
}

TEST_F(tvk_decode_signalling, live_asks_for_it_and_sends_datagrams) {
  const int wireshark = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  ASSERT_EQ(bind(wireshark, reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(getsockname(wireshark, reinterpret_cast<sockaddr*>(&address), &size), 0);

  // Answers about masks as a modem whose logs 0xB000 to 0xB007 others have asked for.
  support::hand_diag modem;
  modem.on_request([&](const bytes& request) {
    const auto done = bytes(request.begin(), request.begin() + 8) + hex("00*4");
    const bytes ranges = hex("00*44 00100000 00*16");
    const bytes mask = hex("0B000000 00100000 FF 00*511");
    modem.write(diag_frame(done + (request[4] == 1 ? ranges : request[4] == 4 ? mask : bytes{})));
  });
  support::background_process live(
      TVK_DECODE_PROGRAM, {"--live", modem.endpoint(), "-f", "none", "--code", "0xB0C0,0xB821",
                           "--gsmtap", "127.0.0.1:" + std::to_string(ntohs(address.sin_port))});
  const auto masks = [&] {
    auto all = modem.requests();
    std::erase_if(all, [](const bytes& one) { return one[4] != 3; });
    return all;
  };
  ASSERT_TRUE(support::eventually([&] { return !masks().empty(); }));
  EXPECT_EQ(masks()[0][16 + 0x0C0 / 8], 0x01);
  EXPECT_EQ(masks()[0][16 + 0x821 / 8], 0x02);
  modem.write(diag_frame(nr) + diag_frame(lte));
  bytes got(100);
  const auto count = recv(wireshark, got.data(), got.size(), 0);
  got.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  EXPECT_EQ(got, hex("02040D00 56940000 00000000 03000000 28"));
  live.send_signal(SIGINT);
  EXPECT_EQ(live.wait().exit_status, 0);
  EXPECT_EQ(masks().back(), hex("73000000 03000000 0B000000 00100000 FF 00*511"));
  close(wireshark);
}

}  // namespace
