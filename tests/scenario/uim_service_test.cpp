// The simulated modem's cards and its eUICC, byte by byte.
#include <gtest/gtest.h>

#include "support/extension_packets.h"
#include "support/service_messages.h"
#include "support/simulated_modem.h"

namespace {

using namespace support;

const char* const first_aid = "a0000005591010ffffffff8900001000";
const char* const second_iccid = "980001010000000020f7";
const bytes isd_r = hex("a0000005591010ffffffff8900000100");

constexpr std::uint8_t uim = 3;

/// Opens a channel to the ISD-R in slot 2; it becomes number 1.
void open_isd_r(const modem_connection& client) {
  EXPECT_EQ(ask(client, uim, "4200", hex("01 0100 02  10 1100 10") + isd_r),
            done + hex("10 0100 01  11 0200 9000  12 2400 23"
                       "6f1f 8410 a0000005591010ffffffff8900000100"
                       "a5049f6501ff e0058203020202 9000"));
}

/// What the card says to STORE DATA with this request on channel 1.
bytes store_data(const modem_connection& client, const bytes& request) {
  const bytes apdu =
      hex("80e29100") + bytes{static_cast<std::uint8_t>(request.size())} + request + hex("00");
  const bytes answer = ask(client, uim, "3b00",
                           hex("01 0100 02  02") + u16(apdu.size() + 2) + u16(apdu.size()) + apdu +
                               hex("10 0100 01  11 0100 01"));
  const std::size_t before = done.size() + 5;  // type, length, count
  return {answer.begin() + static_cast<std::ptrdiff_t>(std::min(before, answer.size())),
          answer.end()};
}

TEST(uim_service, slot_status_follows_the_switch_and_the_enabled_profile) {
  const simulated_modem modem;
  const modem_connection client(modem.socket());
  const auto status = [](const char* first, const char* second, const char* iccid) {
    return done + hex("10 2900 02  02000000 01000000") + hex(first) +
           hex("0a 980001010000000030f5  02000000 01000000") + hex(second) + hex("0a") +
           hex(iccid) +
           hex("11 1900 02  02000000 01 05 3b0354564b 00  02000000 01 05 3b0354564b 01"
               "12 1300 02  00  10 89049032000000000000000000000066");
  };
  EXPECT_EQ(ask(client, uim, "4700"), status("01", "02", "980001010000000010f9"));
  EXPECT_EQ(ask(client, uim, "4600", hex("01 0100 01  02 0400 01000000")), failed("1a00"));
  EXPECT_EQ(ask(client, uim, "4600", hex("01 0100 01  02 0400 03000000")), failed("3000"));
  EXPECT_EQ(ask(client, uim, "4600", hex("01 0100 01  02 0400 02000000")), done);
  EXPECT_EQ(ask(client, uim, "4700"), status("02", "01", "980001010000000010f9"));
  EXPECT_EQ(ask(client, uim, "6500", hex("01 0100 01")),
            done + hex("10 1100 10 89049032000000000000000000000066"));
  EXPECT_EQ(ask(client, uim, "6500", hex("01 0100 02")), done) << "no eUICC";
  EXPECT_EQ(ask(client, uim, "4600", hex("01 0100 01  02 0400 01000000")), done);

  open_isd_r(client);
  EXPECT_EQ(store_data(client, hex("bf3111 a00c 5a0a") + hex(second_iccid) + hex("8101ff")),
            hex("bf3103800100 9000"));
  EXPECT_EQ(ask(client, uim, "4700"), status("01", "02", second_iccid));
}

TEST(uim_service, channels_are_the_clients_and_end_with_power) {
  const simulated_modem modem;
  const modem_connection client(modem.socket());
  const bytes on_1 = hex("01 0100 02  02 0700 0500 80e2910000  10 0100 01");
  {
    const modem_connection first(modem.socket());
    open_isd_r(first);
    EXPECT_EQ(ask(client, uim, "3b00", on_1), done + hex("10 0400 0200 6a80"));
  }
  // The modem may hear of the client's end after this request.
  bytes answer;
  for (int i = 0; i < 100 && answer != failed("3000"); ++i) answer = ask(client, uim, "3b00", on_1);
  EXPECT_EQ(answer, failed("3000"));

  for (const char* channel : {"01", "02", "03"}) {
    EXPECT_EQ(ask(client, uim, "3f00", hex("01 0100 02  10 0600 05 a000000087")),
              done + hex("10 0100") + hex(channel) + hex("11 0200 9000  12 0300 02 9000"));
  }
  EXPECT_EQ(ask(client, uim, "4200", hex("01 0100 02  10 0600 05 a000000087")), failed("4400"));
  EXPECT_EQ(ask(client, uim, "4200", hex("01 0100 01  10 1100 10") + isd_r), failed("5000"));
  EXPECT_EQ(ask(client, uim, "3f00", hex("01 0100 02  11 0100 02  13 0100 01")), done);
  EXPECT_EQ(ask(client, uim, "3f00", hex("01 0100 02  11 0100 02")), failed("3000"));
  EXPECT_EQ(ask(client, uim, "3b00", on_1), done + hex("10 0400 0200 6d00")) << "the USIM";
  EXPECT_EQ(ask(client, uim, "3000", hex("01 0100 02")), done);
  EXPECT_EQ(ask(client, uim, "3100", hex("01 0100 02")), done);
  open_isd_r(client);

  // SELECT on the basic channel, then GetEuiccDataRequest there.
  EXPECT_EQ(ask(client, uim, "3b00", hex("01 0100 02  02 0c00 0a00 00a4040005 a000000559")),
            done + hex("10 2500 2300 6f1f 8410 a0000005591010ffffffff8900000100"
                       "a5049f6501ff e0058203020202 9000"));
  EXPECT_EQ(ask(client, uim, "3b00", hex("01 0100 02  02 0d00 0b00 80e2910006 bf3e035c015a")),
            done + hex("10 1900 1700 bf3e12 5a10 89049032000000000000000000000066 9000"));
  EXPECT_EQ(ask(client, uim, "3b00", hex("01 0100 02  02 0800 0600 80e291000901")),
            done + hex("10 0400 0200 6700"));
  EXPECT_EQ(ask(client, uim, "3b00", hex("01 0100 02  02 0400 0300 80e2")), failed("0100"));
}

TEST(uim_service, euicc_answers_the_profile_assistant_and_remembers) {
  simulated_modem modem;
  {
    const modem_connection client(modem.socket());
    open_isd_r(client);
    const auto say = [&client](const char* request) { return store_data(client, hex(request)); };
    EXPECT_EQ(say("bf3e035c015a"), hex("bf3e12 5a10 89049032000000000000000000000066 9000"));
    // Whole entries, in the order of their AIDs.
    EXPECT_EQ(say("bf2d00"),
              hex("bf2d819a a08197"
                  "e34b 5a0a980001010000000010f9 4f10a0000005591010ffffffff8900001000 9f700101"
                  "9112 42726967687477617465 72204d6f62696c65"
                  "9210 427269676874776174657220486f6d65 950102"
                  "e348 5a0a980001010000000020f7 4f10a0000005591010ffffffff8900001100 9f700100"
                  "9110 4665726e68696c6c2054656c65636f6d"
                  "920f 4665726e68696c6c2054726176656c 950102 9000"));
    EXPECT_EQ(say("bf2d09 a003 950102 5c02 9f70"),
              hex("bf2d0e a00c e304 9f700101 e304 9f700100 9000"));
    EXPECT_EQ(say("bf2d02 a000"), hex("bf2d03 810101 9000"));

    const bytes other = hex("5a0a") + hex(second_iccid);
    EXPECT_EQ(store_data(client, hex("bf3211 a00c") + other + hex("8101ff")),
              hex("bf3203800102 9000"))
        << "not enabled";
    EXPECT_EQ(store_data(client, hex("bf330c") + other), hex("bf3303800100 9000"));
    EXPECT_EQ(store_data(client, hex("bf330c") + other), hex("bf3303800101 9000"));
    const bytes by_aid = hex("4f10") + hex(first_aid);
    EXPECT_EQ(store_data(client, hex("bf3312") + by_aid), hex("bf3303800102 9000")) << "enabled";
    EXPECT_EQ(store_data(client, hex("bf3217 a012") + by_aid + hex("8101ff")),
              hex("bf3203800100 9000"));
    for (const char* broken : {"bf2d", "bf3e045c015a", "bf3e035c025a", "bf9999", "bf7700"}) {
      EXPECT_EQ(store_data(client, hex(broken)), hex("6a80")) << broken;
    }
  }
  modem.kill();
  modem.start();
  const modem_connection client(modem.socket());
  open_isd_r(client);
  const auto say = [&client](const char* request) { return store_data(client, hex(request)); };
  EXPECT_EQ(say("bf2d08 5c06 5a 4f 9f70 90 95"),
            hex("bf2d29 a027 e325 5a0a 980001010000000010f9 4f10") + hex(first_aid) +
                hex("9f700100 950102 9000"));
  EXPECT_EQ(say("bf3404 82020640"), hex("bf3403800101 9000")) << "test profiles only";
  EXPECT_EQ(say("bf3404 820205e0"), hex("bf3403800100 9000"));
  EXPECT_EQ(say("bf3404 820205e0"), hex("bf3403800101 9000"));
  EXPECT_EQ(say("bf2d00"), hex("bf2d02 a000 9000"));
}

}  // namespace
