// The DIAG port of tvk-modem: what its clients ask, and what each of them is answered.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <termios.h>

#include <chrono>
#include <optional>

#include "support/diag_client.h"
#include "support/exclusive_terminal.h"
#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"

namespace {

using std::chrono::milliseconds;
using support::bytes;
using support::diag_client;
using support::hex;
using support::simulated_modem;
using support::operator+;

const simulated_modem::begin at_once = simulated_modem::begin::at_once;

std::string diag_socket(const simulated_modem& modem) {
  const std::string path = modem.socket();
  return path.substr(0, path.size() - std::string("modem.sock").size()) + "diag.sock";
}

bytes text(const std::string& characters) {
  return {characters.begin(), characters.end()};
}

struct exchange {
  bytes request;
  bytes answer;
};

void replay(diag_client& client, const std::vector<exchange>& all) {
  for (const exchange& each : all) {
    SCOPED_TRACE(::testing::PrintToString(each.request));
    EXPECT_EQ(client.ask(each.request), each.answer);
  }
}

const bytes disable_logs = hex("73 000000 00000000");
const bytes logs_disabled = hex("73 000000 00000000 00000000");
const bytes no_messages = hex("7D 05 0000 00000000");
const bytes messages_are_off = hex("7D 05 01 00 00000000");
const bytes version = hex("00") + text("Jan 15 202610:20:30Jan 15 202610:20:30TVKMODEM") +
                      hex("3A 09 FF 64 00 02 09 0B");
const bytes build = hex("7C 01 0000 B0900000 07100000") + text("TVK-MODEM-0.1.0") + hex("0000");
const bytes log_ranges = hex("73 000000 01000000");
const bytes ranges = hex(
    "73 000000 01000000 00000000  00000000 D40F0000 00000000 00000000 21090000 010E0000 00000000"
    "570B0000 00000000 00000000 92030000 FF0F0000 00000000 07020000 00000000 00000000");

/// Operation 3 for `equipment` with `bits` bits, all of which are `byte`.
exchange set_logs(const char* equipment, const char* bits, std::size_t size, std::uint8_t byte,
                  std::uint8_t last) {
  bytes mask(size, byte);
  mask.back() = last;
  const bytes head = hex("73 000000 03000000");
  const bytes rest = hex(equipment) + hex(bits) + mask;
  return {head + rest, head + hex("00000000") + rest};
}

const std::vector<exchange> all_logs = {
    set_logs("01000000", "D40F0000", 507, 0xFF, 0x0F),
    set_logs("04000000", "21090000", 293, 0xFF, 0x01),
    set_logs("05000000", "010E0000", 449, 0xFF, 0x01),
    set_logs("07000000", "570B0000", 363, 0xFF, 0x7F),
    set_logs("0A000000", "92030000", 115, 0xFF, 0x03),
    set_logs("0B000000", "FF0F0000", 512, 0xFF, 0x7F),
    set_logs("0D000000", "07020000", 65, 0xFF, 0x7F),
};

// One client asks step by step and takes whatever is no log or message for its answer.
TEST(tvk_modem_diag, start_of_a_client_that_asks_step_by_step) {
  const simulated_modem modem;
  diag_client client(diag_socket(modem));
  // To the byte, once: 7D begins a frame and is escaped, and CRC bytes are.
  client.send_raw(hex("7D 5D 05 00 00 00 00 00 00 74 41 7E 4B 12 04 00 31 7D 5D 7E"));
  EXPECT_EQ(client.receive(), messages_are_off);
  EXPECT_EQ(client.receive_frame(), support::diag_frame(hex("13 4B 12 04 00")));

  replay(client, {{disable_logs, logs_disabled},
                  {no_messages, messages_are_off},
                  {hex("00"), version},
                  {hex("7C"), build},
                  {hex("1C"), hex("1C 0800")},
                  {hex("01"), hex("01 00000080")},
                  {log_ranges, ranges}});
  replay(client, all_logs);
}

// The other reads for half a second after each request and wants its answer alone and whole.
TEST(tvk_modem_diag, start_of_a_client_that_waits_after_each_request) {
  const simulated_modem modem;
  diag_client client(diag_socket(modem));
  const bytes event_answer = hex("60 0000");
  const bytes message_masks = bytes(std::size_t{4} * 33);
  std::vector<exchange> steps = {
      {hex("60 00"), event_answer},
      {disable_logs, logs_disabled},
      {no_messages, messages_are_off},
      {hex("00"), version},
      {hex("7C"), build},
      {hex("60 00"), event_answer},
      {log_ranges, ranges},
      set_logs("0B000000", "FF0F0000", 512, 0, 0),
      {hex("7D 01"), hex("7D 01 01 00 02000000 0000 2000 9411 A011")},
      {hex("7D 04 0000 2000 0000") + message_masks, hex("7D 04 0000 2000 01 00") + message_masks},
      {hex("7D 02 0000 0100"), hex("7D 02 0000 0100 01 00 1F000000 1F000000")},
  };
  replay(client, steps);
  EXPECT_EQ(client.reads(), static_cast<int>(steps.size()));

  replay(client, {{hex("60 01"), event_answer}});
  // Its first event: the state of RRC, one byte.
  const bytes report = client.receive();
  ASSERT_EQ(report.size(), 14U);
  EXPECT_EQ(bytes(report.begin(), report.begin() + 5), hex("60 0B00 4626"));
}

TEST(tvk_modem_diag, what_is_wrong_comes_back_with_its_error) {
  const simulated_modem modem;
  diag_client client(diag_socket(modem));
  client.send_raw(hex("00 78 F1 7E 7E 00 7E"));  // wrong CRC, empty, too short
  replay(client, {{hex("FE 01"), hex("13 FE 01")},
                  {hex("4B FF 0000"), hex("13 4BFF0000")},
                  {hex("73 000000 09000000"), hex("14 73000000 09000000")},
                  {hex("7D 09"), hex("14 7D09")},
                  {hex("60 02"), hex("14 6002")},
                  {hex("00 00"), hex("15 0000")},
                  {hex("4B 13"), hex("15 4B13")},
                  {hex("73"), hex("15 73")},
                  {hex("73 000000 03000000 0B000000 10000000 00"),
                   hex("15 73 000000 03000000 0B000000 10000000 00")},
                  {hex("73 000000 04000000 02000000"),
                   hex("73 000000 04000000 01000000 02000000 00000000")},
                  {hex("26") + bytes(131), hex("15 26") + bytes(131)}});
}

TEST(tvk_modem_diag, logs_and_events_follow_the_masks_of_each_client) {
  const simulated_modem modem({}, at_once, {"--set", "radio.swing=0", "--set", "lte.rsrp=-90"});
  diag_client cells(diag_socket(modem));
  diag_client events(diag_socket(modem));
  diag_client nobody(diag_socket(modem));
  // B0C2 alone; only event 1605, which never comes.
  bytes mask(25);
  mask[24] = 0x04;
  cells.ask(hex("73 000000 03000000 0B000000 C8000000") + mask);
  EXPECT_EQ(cells.ask(hex("73 000000 04000000 0B000000")).at(20 + 24), 0x04);
  bytes event_mask(201);
  event_mask[200] = 0x20;
  EXPECT_EQ(events.ask(hex("82 00 0000 4806") + event_mask), hex("82 00 0000 4806") + event_mask);
  EXPECT_EQ(events.ask(hex("60 01")), hex("60 0000"));

  const bytes log = cells.receive();
  ASSERT_EQ(log.size(), 16U + 29U);
  EXPECT_EQ(bytes(log.begin(), log.begin() + 8), hex("10 00 2900 2900 C2B0"));
  // PCI 143, EARFCN 1300 and 19300, 20 MHz, cell, area, band 3, 001 01.
  EXPECT_EQ(bytes(log.begin() + 16, log.end()),
            hex("03 8F00 14050000 644B0000 64 64 0074BC01 D605 03000000 0100 02 0100 01"));
  EXPECT_EQ(events.ask(hex("1C")), hex("1C 0800"));
  EXPECT_EQ(nobody.ask(hex("1C")), hex("1C 0800"));

  // B193: the level that was set, raw (-90 + 180) * 16, and the second antenna's, 1.5 dB less.
  bytes measurement(51);
  measurement[50] = 0x08;
  cells.ask(hex("73 000000 03000000 0B000000 94010000") + measurement);
  const bytes measured = cells.receive();
  ASSERT_EQ(measured.size(), 16U + 528U);
  EXPECT_EQ(bytes(measured.begin() + 16 + 36, measured.begin() + 16 + 40), hex("A0 85 58 00"));
}

std::string nv_get(const simulated_modem& modem, const char* item) {
  return support::run(TVK_MODEM_PROGRAM, {"nv", "get", "--state", modem.state(), item}).output;
}

TEST(tvk_modem_diag, items_are_those_of_the_other_ways) {
  const simulated_modem modem;
  diag_client client(diag_socket(modem));
  const bytes imei = hex("080A1010071032 5496");
  replay(client, {{hex("26 2602") + bytes(130), hex("26 2602") + imei + bytes(121)},
                  // The second subscription's; its item 549 was never written.
                  {hex("4B30 0100 2602 0100") + bytes(130),
                   hex("4B30 0100 2602 0100 080A10100710325477") + bytes(121)},
                  {hex("4B30 0100 2502 0100") + bytes(130),
                   hex("4B30 0100 2502 0100") + bytes(128) + hex("0400")},
                  {hex("26 411C") + bytes(128), hex("26 411C") + bytes(128) + hex("0500")},
                  {hex("27 0500 03") + bytes(129), hex("27 0500 03") + bytes(129)}});
  // It keeps its length.
  EXPECT_EQ(nv_get(modem, "5"), "03\n");
}

TEST(tvk_modem_diag, files_are_those_of_the_other_ways) {
  const simulated_modem modem;
  diag_client client(diag_socket(modem));
  const bytes path = text("/a/file") + hex("00");
  const bytes hello = hex("00100000 00100000 00100000 00100000 00100000 00100000");
  const bytes no_handle = hex("FFFFFFFF");
  replay(
      client,
      {{hex("4B13 0000") + hello + hex("01000000 01000000 01000000 FFFFFFFF"),
        hex("4B13 0000") + hello + hex("01000000 01000000 01000000 FFFFFFFF")},
       // There is no directory yet, then there is.
       {hex("4B13 0200 41020000 FF810000") + path, hex("4B13 0200") + no_handle + hex("02000000")},
       {hex("4B13 0900 ED01") + text("/a") + hex("00"), hex("4B13 0900 00000000")},
       {hex("4B13 0900 ED01") + text("/a") + hex("00"), hex("4B13 0900 11000000")},
       {hex("4B13 0200 41020000 FF810000") + path, hex("4B13 0200 00000000 00000000")},
       {hex("4B13 0500 00000000 00000000 313233"),
        hex("4B13 0500 00000000 00000000 03000000 00000000")},
       {hex("4B13 0500 00000000 02000000 7D7E"),
        hex("4B13 0500 00000000 02000000 02000000 00000000")},
       {hex("4B13 0400 00000000 00040000 01000000"),
        hex("4B13 0400 00000000 01000000 03000000 00000000 327D7E")},
       {hex("4B13 0300 00000000"), hex("4B13 0300 00000000")},
       {hex("4B13 0300 00000000"), hex("4B13 0300 09000000")},
       {hex("4B13 1200 8001") + path, hex("4B13 1200 00000000")},
       {hex("4B13 0F00") + path, hex("4B13 0F00 00000000 80810000 04000000 01000000") + bytes(12)},
       {hex("4B13 0B00") + text("/a/") + hex("00"), hex("4B13 0B00 01000000 00000000")},
       {hex("4B13 0C00 01000000 01000000"),
        hex("4B13 0C00 01000000 01000000 00000000 00000000 80810000 04000000") + bytes(12) +
            text("file") + hex("00")},
       {hex("4B13 0C00 01000000 02000000"), hex("4B13 0C00 01000000 02000000") + bytes(29)},
       {hex("4B13 0D00 01000000"), hex("4B13 0D00 00000000")},
       {hex("4B13 0C00 01000000 01000000"),
        hex("4B13 0C00 01000000 01000000 03000040") + bytes(25)},
       {hex("4B13 0E00") + path + text("/a/b") + hex("00"), hex("4B13 0E00 00000000")}});
  const std::vector<std::string> cat = {"efs", "cat", "--state", modem.state(), "/a/b"};
  EXPECT_EQ(support::run(TVK_MODEM_PROGRAM, cat).output, "12}~");

  const auto removed =
      support::run(TVK_MODEM_PROGRAM, {"efs", "rm", "--state", modem.state(), "/a/b"});
  EXPECT_EQ(removed.exit_status, 0) << removed.errors;
  replay(client,
         {{hex("4B13 0800") + text("/a/b") + hex("00"), hex("4B13 0800 02000000")},
          {hex("4B13 0A00") + text("/a") + hex("00"), hex("4B13 0A00 00000000")},
          {hex("4B13 0F00") + text("/a") + hex("00"), hex("4B13 0F00 02000000") + bytes(24)}});
}

TEST(tvk_modem_diag, faults_strike_as_told) {
  const bytes poll = hex("4B32 0300");
  const bytes polled = hex("4B3203") + bytes(13);
  const simulated_modem modem({"diag/0x1C@1=silent", "diag/0x4B32@1=bad-crc",
                               "diag/0x4B32@2=split:3", "diag/0x4B32@3=delay:300",
                               "diag/0x4B32@4=log:2", "diag/0x4B32@5=error:0x42",
                               "diag/0x4B32@6=truncate:5", "diag/0x01=disconnect"});
  diag_client client(diag_socket(modem));
  client.send(hex("1C"));
  EXPECT_EQ(client.ask(hex("1C")), hex("1C 0800"));
  EXPECT_THROW(client.ask(poll), std::runtime_error);
  const int before = client.reads();
  EXPECT_EQ(client.ask(poll), polled);
  EXPECT_GT(client.reads(), before + 2);

  // What is asked after a late one is answered after it.
  const auto begin = std::chrono::steady_clock::now();
  client.send(poll);
  client.send(hex("1C"));
  EXPECT_EQ(client.receive(), polled);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(300));
  EXPECT_EQ(client.receive(), hex("1C 0800"));

  EXPECT_EQ(client.ask(poll).at(0), 0x10);
  EXPECT_EQ(client.receive().at(0), 0x10);
  EXPECT_EQ(client.receive(), polled);
  EXPECT_EQ(client.ask(poll), hex("42") + poll);
  EXPECT_EQ(client.ask(poll), hex("4B32030000"));
  EXPECT_EQ(client.ask(hex("01")), bytes());  // hung up
  EXPECT_EQ(diag_client(diag_socket(modem)).ask(hex("1C")), hex("1C 0800"));

  for (const char* wrong : {"diag/1C=silent", "diag/0x1=silent", "diag=down", "diag=split:0"}) {
    const auto ended = support::run(TVK_MODEM_PROGRAM, {"serve", "--fault", wrong});
    EXPECT_EQ(ended.exit_status, 2) << wrong;
    EXPECT_NE(ended.errors.find(wrong), std::string::npos);
  }
}

TEST(tvk_modem_diag, factory_test_answers_as_long_as_told) {
  const simulated_modem modem({}, at_once, {"--set", "diag.factory_length=16384"});
  diag_client client(diag_socket(modem));
  const bytes answer = client.ask(hex("4B0B 0000"));
  ASSERT_EQ(answer.size(), 16384U);
  EXPECT_EQ(bytes(answer.begin(), answer.begin() + 8), hex("4B0B0000 00010203"));
  EXPECT_EQ(answer[16383], 0xFB);
}

TEST(tvk_modem_diag, terminal_is_new_for_each_client) {
  const support::temp_dir dir;
  const simulated_modem modem({}, at_once, {"--diag-pty", dir.file("tty")});
  for (int i = 0; i < 3; ++i) {
    const int terminal = ::open(dir.file("tty").c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    diag_client client(terminal);
    // Alone, in the mode and with the masks of nobody before, and nothing left unread.
    EXPECT_FALSE(support::is_exclusive(terminal));
    EXPECT_EQ(client.ask(hex("1C")), hex("1C 0800"));
    EXPECT_EQ(client.ask(hex("73 000000 04000000 0B000000")).at(20), 0);
    client.ask(hex("73 000000 03000000 0B000000 08000000 FF"));
    EXPECT_EQ(::ioctl(terminal, TIOCEXCL), 0);
    termios cooked{};
    cooked.c_lflag = ICANON | ECHO;
    EXPECT_EQ(::tcsetattr(terminal, TCSANOW, &cooked), 0);
    client.send(hex("00"));
  }
}

TEST(tvk_modem_diag, exec_tells_the_command_where_diag_is) {
  const support::temp_dir dir;
  const auto shown =
      support::run(TVK_MODEM_PROGRAM, {"exec", "--state", dir.file("state"), "--", "sh", "-c",
                                       "test -S \"${TVK_DIAG#unix:}\" && echo yes"});
  EXPECT_EQ(shown.output, "yes\n") << shown.errors;
}

}  // namespace
