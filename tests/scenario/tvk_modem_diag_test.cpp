// The DIAG port of tvk-modem: what its clients ask, and what each of them is answered.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <termios.h>

#include <chrono>
#include <stdexcept>

#include "support/diag_client.h"
#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

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

/// Operation 3 for `equipment` with `bits` bits, all of which are `byte`.
exchange set_logs(const char* equipment, const char* bits, std::size_t size, std::uint8_t byte,
                  std::uint8_t last) {
  bytes mask(size, byte);
  mask.back() = last;
  const bytes head = hex("73 000000 03000000");
  const bytes rest = hex(equipment) + hex(bits) + mask;
  return {head + rest, head + hex("00000000") + rest};
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
  const bytes message_masks = bytes(std::size_t{4} * 33);
  const std::vector<exchange> steps = {
      {hex("60 00"), hex("60 0000")},
      {hex("73 000000 00000000"), hex("73 000000 00000000 00000000")},
      {hex("7D 05 0000 00000000"), hex("7D 05 01 00 00000000")},
      {hex("00"), hex("00") + ascii("Jan 15 202610:20:30Jan 15 202610:20:30TVKMODEM") +
                      hex("3A 09 FF 64 00 02 09 0B")},
      {hex("7C"),
       hex("7C 01 0000 B0900000 07100000") + ascii("TVK-MODEM-" TVK_MODEM_VERSION) + hex("0000")},
      {hex("1C"), hex("1C 0800")},
      {hex("01"), hex("01 00000080")},
      {hex("73 000000 01000000"),
       hex("73 000000 01000000 00000000  00000000 D40F0000 00000000 00000000 21090000 010E0000"
           "00000000 570B0000 00000000 00000000 92030000 FF0F0000 00000000 07020000 00000000"
           "00000000")},
      set_logs("01000000", "D40F0000", 507, 0xFF, 0x0F),
      set_logs("05000000", "010E0000", 449, 0xFF, 0x01),
      set_logs("0B000000", "FF0F0000", 512, 0xFF, 0x7F),
      set_logs("0B000000", "FF0F0000", 512, 0, 0),
      {hex("7D 01"), hex("7D 01 01 00 02000000 0000 2000 9411 A011")},
      {hex("7D 04 0000 2000 0000") + message_masks, hex("7D 04 0000 2000 01 00") + message_masks},
      {hex("7D 02 0000 0100"), hex("7D 02 0000 0100 01 00 1F000000 1F000000")},
      {hex("73 000000 00000000"), hex("73 000000 00000000 00000000")},
      {hex("60 01"), hex("60 0000")},
  };
  replay(client, steps);
  EXPECT_EQ(client.reads() - before, static_cast<int>(steps.size()));
  modem.let_pass(1499);
  replay(client, {{hex("1C"), hex("1C 0800")}});
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
  replay(client, {{hex("FE 01"), hex("13 FE 01")},
                  {hex("4B FF 0000"), hex("13 4BFF0000")},
                  {hex("73 000000 09000000"), hex("14 73000000 09000000")},
                  {hex("7D 09"), hex("14 7D09")},
                  {hex("60 02"), hex("14 6002")},
                  {hex("00 00"), hex("15 0000")},
                  {hex("4B 13"), hex("15 4B13")},
                  {hex("4B13 0400 00000000"), hex("15 4B13 0400 00000000")},
                  {hex("41 30"), hex("15 4130")},
                  {hex("73"), hex("15 73")},
                  {hex("73 000000 03000000 0B000000 10000000 00"),
                   hex("15 73 000000 03000000 0B000000 10000000 00")},
                  {hex("73 000000 04000000 02000000"),
                   hex("73 000000 04000000 01000000 02000000 00000000")},
                  {hex("26") + bytes(131), hex("15 26") + bytes(131)}});
}

TEST(tvk_modem_diag, logs_and_events_follow_the_masks_of_each_client) {
  simulated_modem modem({}, {"--hold-time", "--set", "lte.pci=7"});
  diag_client cells(modem.diag_socket());
  diag_client events(modem.diag_socket());
  diag_client idle(modem.diag_socket());
  // B0C2 alone; only event 1605, which never comes.
  bytes mask(25);
  mask[24] = 0x04;
  cells.ask(hex("73 000000 03000000 0B000000 C8000000") + mask);
  EXPECT_EQ(cells.ask(hex("73 000000 04000000 0B000000")).at(20 + 24), 0x04);
  bytes event_mask(201);
  event_mask[200] = 0x20;
  EXPECT_EQ(events.ask(hex("82 00 0000 4806") + event_mask), hex("82 00 0000 4806") + event_mask);
  EXPECT_EQ(events.ask(hex("60 01")), hex("60 0000"));
  modem.let_pass(1500);
  modem.let_pass(10000);
  for (int i = 0; i < 3; ++i) {
    const bytes log = cells.receive();
    ASSERT_EQ(log.size(), 16U + 29U);
    EXPECT_EQ(slice(log, 0, 8), hex("10 00 2900 2900 C2B0"));
    EXPECT_EQ(slice(log, 16, 19), hex("03 0700")) << "PCI 7";
  }
  EXPECT_EQ(events.ask(hex("1C")), hex("1C 0800"));
  EXPECT_EQ(idle.ask(hex("1C")), hex("1C 0800"));
}

std::string nv_get(const simulated_modem& modem, const char* item) {
  return run(TVK_MODEM_PROGRAM, {"nv", "get", "--state", modem.state(), item}).output;
}

TEST(tvk_modem_diag, items_are_those_of_the_other_ways) {
  const simulated_modem modem;
  diag_client client(modem.diag_socket());
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
  diag_client client(modem.diag_socket());
  const bytes path = ascii("/a/file") + hex("00");
  const bytes hello = hex("00100000 00100000 00100000 00100000 00100000 00100000");
  const bytes no_handle = hex("FFFFFFFF");
  replay(
      client,
      {{hex("4B13 0000") + hello + hex("01000000 01000000 01000000 FFFFFFFF"),
        hex("4B13 0000") + hello + hex("01000000 01000000 01000000 FFFFFFFF")},
       // There is no directory yet, then there is.
       {hex("4B13 0200 41020000 FF810000") + path, hex("4B13 0200") + no_handle + hex("02000000")},
       {hex("4B13 0900 ED01") + ascii("/a") + hex("00"), hex("4B13 0900 00000000")},
       {hex("4B13 0900 ED01") + ascii("/a") + hex("00"), hex("4B13 0900 11000000")},
       {hex("4B13 0200 41020000 FF810000") + path, hex("4B13 0200 00000000 00000000")},
       {hex("4B13 0500 00000000 00000000 313233"),
        hex("4B13 0500 00000000 00000000 03000000 00000000")},
       {hex("4B13 0500 00000000 02000000 7D7E"),
        hex("4B13 0500 00000000 02000000 02000000 00000000")},
       {hex("4B13 0400 00000000 00040000 01000000"),
        hex("4B13 0400 00000000 01000000 03000000 00000000 327D7E")},
       {hex("4B13 0300 00000000"), hex("4B13 0300 00000000")},
       {hex("4B13 0300 00000000"), hex("4B13 0300 09000000")},
       // For reading only, and past its end.
       {hex("4B13 0200 00000000 00000000") + path, hex("4B13 0200 00000000 00000000")},
       {hex("4B13 0500 00000000 00000000 39"),
        hex("4B13 0500 00000000 00000000 FFFFFFFF 09000000")},
       {hex("4B13 0400 00000000 00040000 09000000"),
        hex("4B13 0400 00000000 09000000 00000000 00000000")},
       {hex("4B13 0300 00000000"), hex("4B13 0300 00000000")},
       {hex("4B13 0A00") + ascii("/a") + hex("00"), hex("4B13 0A00 27000000")},
       {hex("4B13 1200 8001") + path, hex("4B13 1200 00000000")},
       {hex("4B13 0F00") + path, hex("4B13 0F00 00000000 80810000 04000000 01000000") + bytes(12)},
       {hex("4B13 0B00") + ascii("/a/") + hex("00"), hex("4B13 0B00 01000000 00000000")},
       {hex("4B13 0C00 01000000 01000000"),
        hex("4B13 0C00 01000000 01000000 00000000 00000000 80810000 04000000") + bytes(12) +
            ascii("file") + hex("00")},
       {hex("4B13 0C00 01000000 02000000"), hex("4B13 0C00 01000000 02000000") + bytes(29)},
       {hex("4B13 0D00 01000000"), hex("4B13 0D00 00000000")},
       {hex("4B13 0C00 01000000 01000000"),
        hex("4B13 0C00 01000000 01000000 03000040") + bytes(25)},
       {hex("4B13 0E00") + path + ascii("/a/b") + hex("00"), hex("4B13 0E00 00000000")}});
  const std::vector<std::string> cat = {"efs", "cat", "--state", modem.state(), "/a/b"};
  EXPECT_EQ(run(TVK_MODEM_PROGRAM, cat).output, "12}~");

  const auto removed = run(TVK_MODEM_PROGRAM, {"efs", "rm", "--state", modem.state(), "/a/b"});
  EXPECT_EQ(removed.exit_status, 0) << removed.errors;
  replay(client,
         {{hex("4B13 0800") + ascii("/a/b") + hex("00"), hex("4B13 0800 02000000")},
          {hex("4B13 0A00") + ascii("/a") + hex("00"), hex("4B13 0A00 00000000")},
          {hex("4B13 0F00") + ascii("/a") + hex("00"), hex("4B13 0F00 02000000") + bytes(24)}});
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
  EXPECT_EQ(client.ask(poll), hex("42") + poll);
  EXPECT_EQ(client.ask(poll), hex("4B32030000"));
  EXPECT_EQ(client.ask(hex("01")), bytes());  // hung up
  EXPECT_EQ(diag_client(modem.diag_socket()).ask(hex("1C")), hex("1C 0800"));
}

TEST(tvk_modem_diag, terminal_is_new_for_each_client) {
  const temp_dir dir;
  const simulated_modem modem({}, {"--diag-pty", dir.file("tty")});
  for (int i = 0; i < 3; ++i) {
    const int terminal = ::open(dir.file("tty").c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
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

TEST(tvk_modem_diag, exec_tells_the_command_where_diag_is) {
  const temp_dir dir;
  const auto shown = run(TVK_MODEM_PROGRAM, {"exec", "--state", dir.path(), "--", "sh", "-c",
                                             "test -S \"${TVK_DIAG#unix:}\" && echo yes"});
  EXPECT_EQ(shown.output, "yes\n") << shown.errors;
}

}  // namespace
