// The DIAG port of tvk-modem: what its clients ask, and what each of them is answered.
#include <termios.h>

#include <chrono>
#include <sstream>
#include <stdexcept>

#include "support/diag_client.h"
#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

/// Asks each request of "request = answer;" pairs, in hexadecimal, and returns how many there are.
int replay(diag_client& client, const std::string& pairs) {
  int count = 0;
  std::istringstream in(pairs);
  for (std::string pair; std::getline(in, pair, ';'); ++count) {
    SCOPED_TRACE(pair);
    const std::size_t middle = pair.find('=');
    EXPECT_EQ(client.ask(hex(pair.substr(0, middle))), hex(pair.substr(middle + 1)));
  }
  return count;
}

// Some clients mistake whatever comes between two of their first requests for an answer, and some
// read for half a second after each and want the answer whole.
TEST(tvk_modem_diag, first_requests_of_a_client_get_their_answers_and_nothing_else) {
  simulated_modem modem({}, {"--hold-time"});
  diag_client client(modem.diag_socket());
  // To the byte, once: 7D begins a frame and is escaped, and CRC bytes are.
  client.write(hex("7D 5D 05 00 00 00 00 00 00 74 41 7E 4B 12 04 00 31 7D 5D 7E"));
  EXPECT_EQ(client.receive(), hex("7D 05 01 00 00000000"));
  EXPECT_EQ(client.receive_frame(), diag_frame(hex("13 4B 12 04 00")));

  const int before = client.reads();
  const int asked = replay(client, R"(60 00 = 60 0000;
      73 000000 00000000 = 73 000000 00000000 00000000;
      7D 05 0000 00000000 = 7D 05 01 00 00000000;
      00 = 00 'Jan 15 202610:20:30Jan 15 202610:20:30TVKMODEM' 3A 09 FF 64 00 02 09 0B;
      7C = 7C 01 0000 B0900000 07100000 'TVK-MODEM-)" TVK_MODEM_VERSION R"(' 0000;
      1C = 1C 0800;
      01 = 01 00000080;
      73 000000 01000000 = 73 000000 01000000 00000000
          00000000 D40F0000 00000000 00000000 21090000 010E0000 00000000 570B0000
          00000000 00000000 92030000 FF0F0000 00000000 07020000 00000000 00000000;
      73 000000 03000000 01000000 D40F0000 FF*506 0F
          = 73 000000 03000000 00000000 01000000 D40F0000 FF*506 0F;
      73 000000 03000000 05000000 010E0000 FF*448 01
          = 73 000000 03000000 00000000 05000000 010E0000 FF*448 01;
      73 000000 03000000 0B000000 FF0F0000 FF*511 7F
          = 73 000000 03000000 00000000 0B000000 FF0F0000 FF*511 7F;
      73 000000 03000000 0B000000 FF0F0000 00*512
          = 73 000000 03000000 00000000 0B000000 FF0F0000 00*512;
      7D 01 = 7D 01 01 00 02000000 0000 2000 9411 A011;
      7D 04 0000 2000 0000 00*132 = 7D 04 0000 2000 01 00 00*132;
      7D 02 0000 0100 = 7D 02 0000 0100 01 00 1F000000 1F000000;
      73 000000 00000000 = 73 000000 00000000 00000000;
      60 01 = 60 0000)");
  EXPECT_EQ(client.reads() - before, asked);
  modem.let_pass(1499);
  replay(client, "1C = 1C 0800");
  modem.let_pass(1499);
  EXPECT_FALSE(client.readable(std::chrono::milliseconds(0))) << "not long enough after the last";
  modem.let_pass(1);
  // Its first event: the state of RRC, one byte.
  const bytes report = client.receive();
  ASSERT_EQ(report.size(), 14U);
  EXPECT_EQ(slice(report, 0, 5), hex("60 0B00 4626"));
}

TEST(tvk_modem_diag, what_is_wrong_comes_back_with_its_error) {
  const simulated_modem modem;
  diag_client client(modem.diag_socket());
  client.write(hex("00 78 F1 7E 7E 00 7E"));  // wrong CRC, empty, too short
  replay(client, R"(FE 01 = 13 FE 01;
      4B FF 0000 = 13 4B FF 0000;
      73 000000 09000000 = 14 73 000000 09000000;
      7D 09 = 14 7D 09;
      60 02 = 14 60 02;
      00 00 = 15 00 00;
      4B 13 = 15 4B 13;
      4B13 0400 00000000 = 15 4B13 0400 00000000;
      41 30 = 15 41 30;
      73 = 15 73;
      73 000000 03000000 0B000000 10000000 00 = 15 73 000000 03000000 0B000000 10000000 00;
      73 000000 03000000 0B000000 01100000 00*513 = 14 73 000000 03000000 0B000000 01100000 00*513;
      73 000000 04000000 02000000 = 73 000000 04000000 01000000 02000000 00000000;
      26 00*131 = 15 26 00*131)");
}

TEST(tvk_modem_diag, logs_and_events_follow_the_masks_of_each_client) {
  simulated_modem modem({}, {"--hold-time", "--set", "lte.pci=7"});
  diag_client cells(modem.diag_socket());
  diag_client events(modem.diag_socket());
  diag_client idle(modem.diag_socket());
  // B0C2 alone; only event 1605, which never comes.
  cells.ask(hex("73 000000 03000000 0B000000 C8000000 00*24 04"));
  EXPECT_EQ(cells.ask(hex("73 000000 04000000 0B000000")).at(20 + 24), 0x04);
  replay(events, "82 00 0000 4806 00*200 20 = 82 00 0000 4806 00*200 20; 60 01 = 60 0000");
  modem.let_pass(1500);
  modem.let_pass(10000);
  for (int i = 0; i < 3; ++i) {
    const bytes log = cells.receive();
    ASSERT_EQ(log.size(), 16U + 29U);
    EXPECT_EQ(slice(log, 0, 8), hex("10 00 2900 2900 C2B0"));
    EXPECT_EQ(slice(log, 16, 19), hex("03 0700")) << "PCI 7";
  }
  for (diag_client* const each : {&events, &idle}) replay(*each, "1C = 1C 0800");
}

std::string output_of(const std::vector<std::string>& arguments) {
  const auto ended = run(TVK_MODEM_PROGRAM, arguments);
  EXPECT_EQ(ended.exit_status, 0) << ended.errors;
  return ended.output;
}

TEST(tvk_modem_diag, items_are_those_of_the_other_ways) {
  const simulated_modem modem;
  diag_client client(modem.diag_socket());
  // The IMEI, the second subscription's, its item 549 that was never written, and 7233.
  replay(client, R"(26 2602 00*130 = 26 2602 080A1010071032 5496 00*121;
      4B30 0100 2602 0100 00*130 = 4B30 0100 2602 0100 080A10100710325477 00*121;
      4B30 0100 2502 0100 00*130 = 4B30 0100 2502 0100 00*128 0400;
      26 411C 00*128 = 26 411C 00*128 0500;
      27 0500 03 00*129 = 27 0500 03 00*129)");
  EXPECT_EQ(output_of({"nv", "get", "--state", modem.state(), "5"}), "03\n") << "keeps its length";
}

TEST(tvk_modem_diag, files_are_those_of_the_other_ways) {
  const simulated_modem modem;
  diag_client client(modem.diag_socket());
  // There is no directory yet, then there is.
  replay(client, R"(4B13 0000 00100000 00100000 00100000 00100000 00100000 00100000
              01000000 01000000 01000000 FFFFFFFF
          = 4B13 0000 00100000 00100000 00100000 00100000 00100000 00100000
              01000000 01000000 01000000 FFFFFFFF;
      4B13 0200 41020000 FF810000 '/a/file' 00 = 4B13 0200 FFFFFFFF 02000000;
      4B13 0900 ED01 '/a' 00 = 4B13 0900 00000000;
      4B13 0900 ED01 '/a' 00 = 4B13 0900 11000000;
      4B13 0200 41020000 FF810000 '/a/file' 00 = 4B13 0200 00000000 00000000;
      4B13 0500 00000000 00000000 313233 = 4B13 0500 00000000 00000000 03000000 00000000;
      4B13 0500 00000000 02000000 7D7E = 4B13 0500 00000000 02000000 02000000 00000000;
      4B13 0400 00000000 00040000 01000000
          = 4B13 0400 00000000 01000000 03000000 00000000 327D7E;
      4B13 0300 00000000 = 4B13 0300 00000000;
      4B13 0300 00000000 = 4B13 0300 09000000)");
  // For reading only, and past its end.
  replay(client, R"(4B13 0200 00000000 00000000 '/a/file' 00 = 4B13 0200 00000000 00000000;
      4B13 0500 00000000 00000000 39 = 4B13 0500 00000000 00000000 FFFFFFFF 09000000;
      4B13 0400 00000000 00040000 09000000 = 4B13 0400 00000000 09000000 00000000 00000000;
      4B13 0300 00000000 = 4B13 0300 00000000)");
  replay(client, R"(4B13 0A00 '/a' 00 = 4B13 0A00 27000000;
      4B13 1200 8001 '/a/file' 00 = 4B13 1200 00000000;
      4B13 0F00 '/a/file' 00 = 4B13 0F00 00000000 80810000 04000000 01000000 00*12;
      4B13 0B00 '/a/' 00 = 4B13 0B00 01000000 00000000;
      4B13 0C00 01000000 01000000
          = 4B13 0C00 01000000 01000000 00000000 00000000 80810000 04000000 00*12 'file' 00;
      4B13 0C00 01000000 02000000 = 4B13 0C00 01000000 02000000 00*29;
      4B13 0D00 01000000 = 4B13 0D00 00000000;
      4B13 0C00 01000000 01000000 = 4B13 0C00 01000000 01000000 03000040 00*25;
      4B13 0E00 '/a/file' 00 '/a/b' 00 = 4B13 0E00 00000000)");
  EXPECT_EQ(output_of({"efs", "cat", "--state", modem.state(), "/a/b"}), "12}~");
  EXPECT_EQ(output_of({"efs", "rm", "--state", modem.state(), "/a/b"}), "");
  replay(client, R"(4B13 0800 '/a/b' 00 = 4B13 0800 02000000;
      4B13 0A00 '/a' 00 = 4B13 0A00 00000000;
      4B13 0F00 '/a' 00 = 4B13 0F00 02000000 00*24)");
}

TEST(tvk_modem_diag, links_lead_to_files_and_trees_go_whole) {
  const simulated_modem modem;
  diag_client client(modem.diag_socket());
  replay(client, R"(4B13 0900 ED01 '/a' 00 = 4B13 0900 00000000;
      4B13 0200 41020000 FF810000 '/a/file' 00 = 4B13 0200 00000000 00000000;
      4B13 0500 00000000 00000000 '12345' = 4B13 0500 00000000 00000000 05000000 00000000;
      4B13 1100 00000000 = 4B13 1100 00000000 FF810000 05000000 01000000 00*12;
      4B13 1100 01000000 = 4B13 1100 09000000 00*24;
      4B13 0600 '/a/file' 00 '/a/link' 00 = 4B13 0600 00000000;
      4B13 0600 '/a/file' 00 '/a/link' 00 = 4B13 0600 11000000;
      4B13 0700 '/a/link' 00 = 4B13 0700 00000000 '/a/file' 00;
      4B13 0700 '/a/file' 00 = 4B13 0700 16000000 00;
      4B13 1000 '/a/link' 00 = 4B13 1000 00000000 FFA10000 00*12;
      4B13 1200 8001 '/a/link' 00 = 4B13 1200 00000000;
      4B13 2800 0100 02000000 '/a/link' 00 = 4B13 2800 0100 00000000;
      4B13 0F00 '/a/link' 00 = 4B13 0F00 00000000 80810000 02000000 01000000 00*12;
      4B13 1400 04 '/a/link' 00 = 4B13 1400 00000000;
      4B13 1400 04 '/a/none' 00 = 4B13 1400 02000000;
      4B13 0600 '/x' 00 '/y' 00 = 4B13 0600 00000000;
      4B13 0600 '/y' 00 '/x' 00 = 4B13 0600 00000000;
      4B13 0F00 '/x' 00 = 4B13 0F00 28000000 00*24;
      4B13 0B00 '/a' 00 = 4B13 0B00 01000000 00000000;
      4B13 0C00 01000000 02000000
          = 4B13 0C00 01000000 02000000 00000000 02000000 FFA10000 07000000 00*12 'link' 00;
      4B13 3000 0200 '/' 00 = 4B13 3000 0200 01000000 00000000;
      4B13 3100 0300 01000000 '/' 00 = 4B13 3100 0300 01 00000000;
      4B13 2500 0700 '/a' 00 = 4B13 2500 0700 00000000;
      4B13 0F00 '/a' 00 = 4B13 0F00 02000000 00*24;
      4B13 1500 = 4B13 1500 00000000 80000000 40000000 00080000 40080000 00*9 'TVK NAND' 00)");
}

TEST(tvk_modem_diag, faults_strike_as_ordered) {
  const bytes poll = hex("4B32 0300");
  const bytes polled = hex("4B3203") + bytes(13);
  simulated_modem modem(
      {"diag/0x1C@1=silent", "diag/0x4B32@1=bad-crc", "diag/0x4B32@2=split:6",
       "diag/0x4B32@3=delay:300", "diag/0x4B32@4=log:2", "diag/0x4B32@5=error:0x42",
       "diag/0x4B32@6=truncate:5", "diag/0x01=disconnect"},
      {"--hold-time"});
  diag_client client(modem.diag_socket());
  client.send(hex("1C"));
  EXPECT_EQ(client.ask(hex("1C")), hex("1C 0800"));
  EXPECT_THROW(client.ask(poll), std::runtime_error);
  // 19 bytes: the rest of four pieces, 5 ms apart.
  client.send(poll);
  const int before = client.reads();
  EXPECT_TRUE(client.readable(std::chrono::seconds(30)));
  for (int i = 0; i < 3; ++i) {
    EXPECT_THROW((void)client.receive(std::chrono::milliseconds(0)), std::runtime_error);
    modem.let_pass(5);
  }
  EXPECT_EQ(client.receive(), polled);
  EXPECT_EQ(client.reads() - before, 4);
  modem.let_pass(5);

  // What is asked after a late one is answered after it.
  client.send(poll);
  client.send(hex("1C"));
  modem.let_pass(299);
  EXPECT_EQ(diag_client(modem.diag_socket()).ask(hex("00")).at(0), 0);
  EXPECT_FALSE(client.readable(std::chrono::milliseconds(0)));
  modem.let_pass(1);
  EXPECT_EQ(client.receive(), polled);
  EXPECT_EQ(client.receive(), hex("1C 0800"));

  EXPECT_EQ(client.ask(poll).at(0), 0x10);
  EXPECT_EQ(client.receive().at(0), 0x10);
  EXPECT_EQ(client.receive(), polled);
  // The last hangs up.
  replay(client, "4B32 0300 = 42 4B32 0300; 4B32 0300 = 4B32 0300 00; 01 =");
  EXPECT_EQ(diag_client(modem.diag_socket()).ask(hex("1C")), hex("1C 0800"));
}

TEST(tvk_modem_diag, terminal_is_new_for_each_client) {
  const temp_dir dir;
  const simulated_modem modem({}, {"--diag-pty", dir.file("tty")});
  for (int i = 0; i < 3; ++i) {
    const int terminal = terminal_at(dir.file("tty"));
    diag_client client(terminal);
    // Nothing is left of the client before: no exclusive use, no mode, no masks, no unread answer.
    EXPECT_FALSE(is_exclusive(terminal));
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

}  // namespace
