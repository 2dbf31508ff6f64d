// What clients ask a modem first, message by message: TLVs of requests and of answers.
#include <algorithm>
#include <optional>

#include "support/modem_connection.h"
#include "support/simulated_modem.h"
#include "support/test.h"

namespace {

using namespace support;
using namespace support::packets;

bool holds(const bytes& all, const char* part) {
  const bytes wanted = hex(part);
  return std::search(all.begin(), all.end(), wanted.begin(), wanted.end()) != all.end();
}

const bytes registered =
    done + hex("01 0600 01 01 01 02 01 08  10 0100 01  11 0200 01 0b"
               "12 1000 0100 0100 0b 4272696768747761746572  1a 0100 00  1b 0100 00"
               "1d 0400 0074bc01  21 0500 02 03 00 00 00  24 0200 d605  27 0500 0100 0100 00");
const bytes not_registered = done + hex("01 0500 00 02 02 02 00");

/// A client of a modem of its own.
class tvk_modem_services : public testing::Test {
 protected:
  bytes ask(std::uint8_t port, const char* message, const std::string& tlvs = "") const {
    return client_->ask(port, message, hex(tlvs));
  }

  simulated_modem modem_{{}, {"--set", "radio.swing=0"}};
  std::optional<modem_connection> client_{std::in_place, modem_.socket()};
};

TEST_F(tvk_modem_services, device_and_network_tell_of_one_radio) {
  EXPECT_EQ(ask(dms_port, "2200"), done + hex("01 0900 74766b2d6d6f64656d"));
  EXPECT_EQ(ask(dms_port, "2500"),
            done + hex("10 0100 30  11 0f00 303031303137303031323334353639"));
  EXPECT_EQ(ask(sar_port, "1e00"), done + hex("10 0600 0400 07000040"));
  EXPECT_EQ(ask(nas_port, "2400"), registered);
  EXPECT_TRUE(holds(ask(nas_port, "4d00"),
                    "19 1d00 01 03 01 03 01 00 01 00 00 ffff 01 0074bc01 00 00 00 01 303031 3031ff "
                    "01 d605"));

  EXPECT_EQ(ask(dms_port, "0100", "14 0100 01"), done);
  EXPECT_EQ(ask(nas_port, "0300", "13 0100 01  18 0100 00"), done);
  EXPECT_EQ(ask(dms_port, "2e00", "01 0100 04"), failed("3c00"));
  EXPECT_EQ(ask(dms_port, "2e00", "01 0100 08"), failed("3000"));
  EXPECT_EQ(ask(dms_port, "2e00"), failed("1100"));
  EXPECT_EQ(ask(dms_port, "2e00", "01 0100 01"), done);
  EXPECT_EQ(client_->receive(), hex("00000000 07000000  04 0000 0100 0400  14 0100 01"));
  EXPECT_EQ(client_->receive(),
            hex("00000000 05000000  04 0000 2400 0800  01 0500 00 02 02 02 00"));
  EXPECT_EQ(ask(dms_port, "2e00", "01 0100 01"), failed("1a00"));
  EXPECT_EQ(ask(nas_port, "2400"), not_registered);
  EXPECT_EQ(ask(nas_port, "4f00"), failed("4a00"));

  // A reset ends the indications.
  EXPECT_EQ(ask(nas_port, "0000"), done);
  EXPECT_EQ(ask(dms_port, "2e00", "01 0100 00"), done);
  EXPECT_EQ(ask(dms_port, "2d00"), done + hex("01 0100 00"));
}

TEST_F(tvk_modem_services, preferences_are_kept_as_they_were_set) {
  EXPECT_EQ(ask(nas_port, "3300", "11 0200 0100"), failed("3000"));
  EXPECT_EQ(ask(nas_port, "3300", "11 0100 50"), failed("0100"));
  EXPECT_EQ(ask(nas_port, "3300", "1e 0300 03 08 0c"), failed("0100"));
  // What a stock client sends for LTE and NR.
  EXPECT_EQ(ask(nas_port, "3300",
                "11 0200 5000  16 0500 01 0100 0100  17 0100 01  19 0400 00000000"
                "1e 0300 02 08 0c"),
            done);
  const bytes got = ask(nas_port, "3400");
  for (const char* const part : {"11 0200 5000", "16 0100 01", "1c 0300 02 08 0c"}) {
    EXPECT_TRUE(holds(got, part)) << part;
  }

  EXPECT_EQ(ask(wda_port, "2000", "11 0400 01000000  12 0400 01000000"), failed("3000"));
  // The greatest aggregate to send is TLV 1C in the request and 18 in the answer.
  const bytes format = done + hex("10 0100 00  11 0400 02000000  12 0400 00000000  13 0400 05000000"
                                  "15 0400 00000000  16 0400 00000000  17 0400 00000000"
                                  "18 0400 00400000");
  EXPECT_EQ(ask(wda_port, "2000", "13 0400 05000000  17 0800 04000000 01000000  1c 0400 00400000"),
            format);
  EXPECT_EQ(ask(wda_port, "2100"), format);
}

TEST_F(tvk_modem_services, files_are_read_and_pins_guard_them_across_runs) {
  const std::string imsi = "02 0700 076f 04 003f ff7f";
  const std::string all = "03 0400 0000 0000";
  const struct {
    const char* message;  ///< read transparent, read record, get attributes
    std::string file;
    bytes answer;
  } rows[] = {
      {"2000", "02 0500 e22f 02 003f" + all,
       done + hex("10 0200 9000  11 0c00 0a00 980001010000000030f5")},
      {"2000", imsi + all, done + hex("10 0200 9000  11 0b00 0900 080910101032547698")},
      {"2000", "02 0700 ad6f 04 003f ff7f  03 0400 0300 0100",
       done + hex("10 0200 9000  11 0300 0100 02")},
      {"2000", "02 0700 ad6f 04 003f ff7f  03 0400 0300 0200", failed("3000")},
      {"2000", "02 0700 ff6f 04 003f ff7f" + all, failed("5000") + hex("10 0200 6a82")},
      {"2100", "02 0700 406f 04 003f ff7f  03 0400 0200 0000",
       failed("3000") + hex("10 0200 6a83")},
      // 9 bytes, transparent, read with PIN 1; the card's description.
      {"2400", imsi,
       done + hex("10 0200 9000  11 2400 0900 076f 00 0000 0000  04 0100"
                  "01 0000  01 0000  01 0000  01 0000  0a00 6208 82024121 83026f07")},
  };
  for (const auto& [message, file, answer] : rows) {
    EXPECT_EQ(ask(uim_port, message, "01 0200 00 00" + file), answer) << message << ": " << file;
  }
  const auto of_pin = [&](const char* message, const std::string& codes) {
    return ask(uim_port, message, "01 0200 06 00" + codes);
  };
  EXPECT_EQ(ask(uim_port, "2e00", "01 0400 01000000"), done + hex("10 0400 01000000"));
  EXPECT_EQ(of_pin("2500", "02 0700 01 01 04 31323334"), done + hex("10 0200 03 0a  13 0200 9000"));
  EXPECT_EQ(slice(client_->receive(), 0, 13), hex("00000000 03000000 04 0000 3200"));
  modem_.stop();
  modem_.start();
  client_.emplace(modem_.socket());

  const auto verify = [&](const std::string& pin) { return of_pin("2600", "02 0600 01 04" + pin); };
  const auto unblock = [&](const std::string& code) {
    return of_pin("2700", "02 0f00 01 08" + code + "04 34333231");
  };
  const bytes right = done + hex("10 0200 03 0a  13 0200 9000");
  const bytes blocked = failed("2300") + hex("10 0200 00 0a  13 0200 6983");
  EXPECT_EQ(ask(uim_port, "2000", "01 0200 00 00" + imsi + all),
            failed("2200") + hex("10 0200 6982"));
  EXPECT_EQ(ask(nas_port, "2400"), not_registered);
  EXPECT_EQ(verify("39393939"), failed("0c00") + hex("10 0200 02 0a  13 0200 63c2"));
  EXPECT_EQ(verify("31323334"), right);
  EXPECT_EQ(ask(nas_port, "2400"), registered);
  verify("39393939");
  verify("39393939");
  EXPECT_EQ(verify("39393939"), blocked);
  EXPECT_EQ(verify("31323334"), blocked);
  EXPECT_EQ(unblock("3132333435363739"), failed("0c00") + hex("10 0200 00 09  13 0200 63c0"));
  EXPECT_EQ(unblock("3132333435363738"), right);
  EXPECT_EQ(verify("34333231"), right);
}

TEST_F(tvk_modem_services, data_call_is_its_clients_and_needs_registration) {
  const bytes handle = hex("01 0400 01000001");
  EXPECT_EQ(ask(wds_port, "2d00"), failed("0f00"));
  EXPECT_EQ(ask(wds_port, "2000", "31 0100 05"), failed("0a00"));
  EXPECT_EQ(ask(wds_port, "2000"), done + handle);
  EXPECT_EQ(client_->receive(), hex("00000000 08000000  04 0000 2200 0500  01 0200 02 00"));
  EXPECT_EQ(ask(wds_port, "2000"), failed("1a00") + handle);
  EXPECT_EQ(ask(wds_port, "2200"), done + hex("01 0100 02"));
  EXPECT_EQ(modem_connection(modem_.socket()).ask(wds_port, "2200"), done + hex("01 0100 01"));
  EXPECT_EQ(ask(nas_port, "2300", "10 0100 02"), done);
  EXPECT_EQ(ask(wds_port, "2200"), done + hex("01 0100 01"));
  EXPECT_EQ(ask(wds_port, "2000"), failed("0e00") + hex("10 0200 0300  11 0400 0300 0300"));
  EXPECT_EQ(ask(wds_port, "2100", "01 0400 02000000"), failed("0900"));

  EXPECT_EQ(ask(wds_port, "2700", "01 0100 00  10 0300 696d73  14 0300 696d73"),
            done + hex("01 0200 00 02"));
  EXPECT_EQ(ask(wds_port, "2a00", "10 0100 00"),
            done + hex("01 1200 02  00 01 08 696e7465726e6574  00 02 03 696d73"));
  EXPECT_EQ(ask(wds_port, "2900", "01 0200 00 02"), done);
  EXPECT_EQ(ask(wds_port, "2b00", "01 0200 00 02"), failed("5100") + hex("e0 0200 0500"));
}

TEST(one_active_slot, is_all_that_status_shows) {
  const simulated_modem modem({}, {"--set", "uim.active_slots=1"});
  const modem_connection client(modem.socket());
  const bytes slots = client.ask(uim_port, "4700");
  ASSERT_GT(slots.size(), 41U);
  // Present, active, logical slot 1, its ICCID; present, not active, in no logical slot.
  EXPECT_EQ(slice(slots, 7, 31), hex("10 2900 02  02000000 01000000 01 0a 980001010000000030f5"));
  EXPECT_EQ(slice(slots, 31, 40), hex("02000000 00000000 00"));
  EXPECT_EQ(client.ask(uim_port, "3000", hex("01 0100 02")), failed("3000"));
}

}  // namespace
