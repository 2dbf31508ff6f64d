// The simulated modem's cards and its eUICC, byte by byte.
#include "support/modem_connection.h"
#include "support/simulated_modem.h"
#include "support/test.h"

namespace {

using namespace support;
using packets::done;
using packets::failed;

const std::string first_aid = "a0000005591010ffffffff8900001000";
const std::string first_iccid = "980001010000000010f9";
const std::string second_iccid = "980001010000000020f7";
const bytes isd_r = hex("a0000005591010ffffffff8900000100");

bytes ask(const modem_connection& client, const char* message, const bytes& tlvs = {}) {
  return client.ask(packets::uim_port, message, tlvs);
}

/// Opens a channel to the ISD-R in slot 2; it becomes number 1.
void open_isd_r(const modem_connection& client) {
  EXPECT_EQ(ask(client, "4200", hex("01 0100 02  10 1100 10") + isd_r),
            done + hex("10 0100 01  11 0200 9000  12 2400 23"
                       "6f1f 8410 a0000005591010ffffffff8900000100"
                       "a5049f6501ff e0058203020202 9000"));
}

struct exchange {
  std::string request;
  std::string answer;
};

/// STORE DATA with each request on channel 1, and what the card says to it.
void expect_stored(const modem_connection& client, const std::vector<exchange>& all) {
  for (const auto& [request, answer] : all) {
    const bytes data = hex(request);
    const bytes apdu =
        hex("81e29100") + bytes{static_cast<std::uint8_t>(data.size())} + data + hex("00");
    const bytes got = ask(client, "3b00",
                          hex("01 0100 02  02") + u16(apdu.size() + 2) + u16(apdu.size()) + apdu +
                              hex("10 0100 01  11 0100 01"));
    EXPECT_EQ(slice(got, done.size() + 5), hex(answer)) << request;  // after type, length, count
  }
}

TEST(uim_service, slot_status_follows_the_switch_and_the_enabled_profile) {
  const simulated_modem modem;
  const modem_connection client(modem.socket());
  const auto status = [](const char* first, const char* second, const std::string& iccid) {
    return done + hex("10 2900 02  02000000 01000000") + hex(first) +
           hex("0a 980001010000000030f5  02000000 01000000") + hex(second) + hex("0a") +
           hex(iccid) +
           hex("11 1900 02  02000000 01 05 3b0354564b 00  02000000 01 05 3b0354564b 01"
               "12 1300 02  00  10 89049032000000000000000000000066");
  };
  EXPECT_EQ(ask(client, "4700"), status("01", "02", first_iccid));
  EXPECT_EQ(ask(client, "4600", hex("01 0100 01  02 0400 01000000")), failed("1a00"));
  EXPECT_EQ(ask(client, "4600", hex("01 0100 01  02 0400 03000000")), failed("3000"));
  EXPECT_EQ(ask(client, "4600", hex("01 0100 01  02 0400 02000000")), done);
  EXPECT_EQ(ask(client, "4700"), status("02", "01", first_iccid));
  EXPECT_EQ(ask(client, "6500", hex("01 0100 01")),
            done + hex("10 1100 10 89049032000000000000000000000066"));
  EXPECT_EQ(ask(client, "6500", hex("01 0100 02")), done) << "no eUICC";
  EXPECT_EQ(ask(client, "4600", hex("01 0100 01  02 0400 01000000")), done);

  open_isd_r(client);
  expect_stored(client, {{"bf3111 a00c 5a0a" + second_iccid + "8101ff", "bf3103800100 9000"}});
  EXPECT_EQ(ask(client, "4700"), status("01", "02", second_iccid));
}

TEST(uim_service, channels_are_the_clients_and_end_with_power) {
  const simulated_modem modem;
  const modem_connection client(modem.socket());
  const bytes on_1 = hex("01 0100 02  02 0700 0500 80e2910000  10 0100 01");
  {
    const modem_connection first(modem.socket());
    open_isd_r(first);
    EXPECT_EQ(ask(client, "3b00", on_1), done + hex("10 0400 0200 6a80"));
  }
  // The modem may hear of the client's end after this request.
  bytes answer;
  for (int i = 0; i < 100 && answer != failed("3000"); ++i) answer = ask(client, "3b00", on_1);
  EXPECT_EQ(answer, failed("3000"));

  for (const char* channel : {"01", "02", "03"}) {
    EXPECT_EQ(ask(client, "3f00", hex("01 0100 02  10 0600 05 a000000087")),
              done + hex("10 0100") + hex(channel) + hex("11 0200 9000  12 0300 02 9000"));
  }
  EXPECT_EQ(ask(client, "4200", hex("01 0100 02  10 0600 05 a000000087")), failed("4400"));
  EXPECT_EQ(ask(client, "4200", hex("01 0100 01  10 1100 10") + isd_r), failed("5000"));
  EXPECT_EQ(ask(client, "3f00", hex("01 0100 02  11 0100 02  13 0100 01")), done);
  EXPECT_EQ(ask(client, "3f00", hex("01 0100 02  11 0100 02")), failed("3000"));
  EXPECT_EQ(ask(client, "3b00", on_1), done + hex("10 0400 0200 6d00")) << "the USIM";
  EXPECT_EQ(ask(client, "3000", hex("01 0100 02")), done);
  EXPECT_EQ(ask(client, "3100", hex("01 0100 02")), done);
  open_isd_r(client);

  // SELECT on the basic channel, then GetEuiccDataRequest there.
  EXPECT_EQ(ask(client, "3b00", hex("01 0100 02  02 0c00 0a00 00a4040005 a000000559")),
            done + hex("10 2500 2300 6f1f 8410 a0000005591010ffffffff8900000100"
                       "a5049f6501ff e0058203020202 9000"));
  EXPECT_EQ(ask(client, "3b00", hex("01 0100 02  02 0d00 0b00 80e2910006 bf3e035c015a")),
            done + hex("10 1900 1700 bf3e12 5a10 89049032000000000000000000000066 9000"));
  EXPECT_EQ(ask(client, "3b00", hex("01 0100 02  02 0800 0600 80e291000901")),
            done + hex("10 0400 0200 6700"));
  EXPECT_EQ(ask(client, "3b00", hex("01 0100 02  02 0400 0300 80e2")), failed("0100"));
}

TEST(uim_service, euicc_answers_about_profiles_and_remembers) {
  simulated_modem modem;
  {
    const modem_connection client(modem.socket());
    open_isd_r(client);
    const std::string other = "5a0a" + second_iccid;
    const std::string by_aid = "4f10" + first_aid;
    expect_stored(client,
                  {{"bf3e035c015a", "bf3e12 5a10 89049032000000000000000000000066 9000"},
                   // Whole entries, in the order of their AIDs.
                   {"bf2d00",
                    "bf2d819a a08197"
                    "e34b 5a0a980001010000000010f9 4f10a0000005591010ffffffff8900001000 9f700101"
                    "9112 42726967687477617465 72204d6f62696c65"
                    "9210 427269676874776174657220486f6d65 950102"
                    "e348 5a0a980001010000000020f7 4f10a0000005591010ffffffff8900001100 9f700100"
                    "9110 4665726e68696c6c2054656c65636f6d"
                    "920f 4665726e68696c6c2054726176656c 950102 9000"},
                   {"bf2d09 a003 950102 5c02 9f70", "bf2d0e a00c e304 9f700101 e304 9f700100 9000"},
                   {"bf2d02 a000", "bf2d03 810101 9000"},
                   {"bf3211 a00c" + other + "8101ff", "bf3203800102 9000"},  // not enabled
                   {"bf330c" + other, "bf3303800100 9000"},
                   {"bf330c" + other, "bf3303800101 9000"},
                   {"bf3312" + by_aid, "bf3303800102 9000"},  // enabled
                   {"bf3217 a012" + by_aid + "8101ff", "bf3203800100 9000"},
                   {"bf2d", "6a80"},
                   {"bf3e045c015a", "6a80"},
                   {"bf3e035c025a", "6a80"},
                   {"bf9999", "6a80"},
                   {"bf7700", "6a80"}});
  }
  modem.kill();
  modem.start();
  const modem_connection client(modem.socket());
  open_isd_r(client);
  expect_stored(
      client, {{"bf2d08 5c06 5a 4f 9f70 90 95", "bf2d29 a027 e325 5a0a 980001010000000010f9 4f10" +
                                                    first_aid + "9f700100 950102 9000"},
               {"bf3404 82020640", "bf3403800101 9000"},  // test profiles only
               {"bf3404 820205e0", "bf3403800100 9000"},
               {"bf3404 820205e0", "bf3403800101 9000"},
               {"bf2d00", "bf2d02 a000 9000"}});
}

/// One notification's metadata.
std::string metadata(const std::string& number, const std::string& operation,
                     const std::string& iccid) {
  return "bf2f25 8001" + number + "8102 04" + operation +
         "0c10 736d64702e6578616d706c652e6f7267 5a0a" + iccid;
}

// In the order of a profile assistant: addresses, a nickname, a switch, its notifications.
TEST(uim_service, euicc_answers_the_sequence_of_a_profile_assistant) {
  const simulated_modem modem;
  const modem_connection client(modem.socket());
  open_isd_r(client);
  const std::string root = "8112 6c70612e64732e6578616d706c652e6f7267";
  const std::string home = metadata("01", "20", first_iccid);
  const std::string travel = metadata("02", "40", second_iccid);
  expect_stored(client,
                {{"bf3c00", "bf3c14" + root + "9000"},
                 {"bf3f06 8004 61626364", "bf3f03 800100 9000"},
                 {"bf3c00", "bf3c1a 8004 61626364" + root + "9000"},
                 {"bf4300", "bf4302 a000 9000"},
                 {"bf2914 5a0a" + second_iccid + "9006 54726176656c", "bf2903 800100 9000"},
                 {"bf2914 5a0a 98000101000000009999 9006 54726176656c", "bf2903 800101 9000"},
                 {"bf2d03 5c0190", "bf2d0e a00c e300 e3089006 54726176656c 9000"},
                 {"bf2800", "bf2802 a000 9000"},
                 {"bf3111 a00c 5a0a" + second_iccid + "8101ff", "bf3103 800100 9000"},
                 {"bf2800", "bf2852 a050" + home + travel + "9000"},
                 {"bf2b05 a003 800101", "bf2b6f a06d 306b" + home + "5f3740 00*64 9000"},
                 {"bf3003 800101", "bf3003 800100 9000"},
                 {"bf3003 800101", "bf3003 800101 9000"},
                 {"bf2800", "bf282a a028" + travel + "9000"}});
}

}  // namespace
