// The simulated modem's configuration service, byte by byte.
#include <optional>

#include "support/modem_connection.h"
#include "support/simulated_modem.h"
#include "support/test.h"

namespace {

using namespace support;
using namespace support::packets;
using connection = modem_connection;

const bytes nordvik = hex("41c715ea920b6df3882e57b409da63fc1e70a538");
const bytes get_selected = pdc + hex("00 0100 2200 0700  01 0400 01000000");
const bytes get_selected_answer = pdc + hex("02 0100 2200 0700") + done;
const bytes generic_is_selected =
    pdc +
    hex("04 0000 2200 1d00  01 0200 0000  11 1500 14 09d27b61e834af501c9386fd2a4eb705c81972d6");

TEST(tvk_modem_pdc, outcome_follows_the_answer_and_those_who_registered_hear_of_it) {
  const simulated_modem modem;
  const connection client(modem.socket());
  const connection watcher(modem.socket());
  EXPECT_EQ(watcher.look_up(look_up_all), listed(all_up));
  EXPECT_EQ(watcher.ask(pdc + hex("00 0100 2000 0800  10 0100 01  11 0100 01")),
            pdc + hex("02 0100 2000 0700") + done);
  EXPECT_EQ(client.ask(pdc + hex("00 0100 2900 0700  01 0400 01000000")),
            pdc + hex("02 0100 2900 1d00") + done +
                hex("11 0800 0000400000000000  12 0800 c000000000000000"));

  const bytes token = hex("10 0400 44332211");
  EXPECT_EQ(client.ask(pdc + hex("00 0200 2300 2300  01 1900 01000000 14") + nordvik + token),
            pdc + hex("02 0200 2300 0e00") + done + token);
  EXPECT_EQ(client.receive(), pdc + hex("04 0000 2300 0c00  01 0200 0000") + token);
  EXPECT_EQ(watcher.ask(get_selected), get_selected_answer) << "pending changes nothing yet";
  EXPECT_EQ(watcher.receive(),
            pdc +
                hex("04 0000 2200 3500  01 0200 0000"
                    "11 1500 14 09d27b61e834af501c9386fd2a4eb705c81972d6  12 1500 14") +
                nordvik);
  EXPECT_EQ(client.ask(pdc + hex("00 0300 2700 0e00  01 0400 01000000") + token),
            pdc + hex("02 0300 2700 0e00") + done + token);
  EXPECT_EQ(client.receive(), pdc + hex("04 0000 2700 0c00  01 0200 0000") + token);
  EXPECT_EQ(watcher.receive(), pdc + hex("04 0000 2100 1c00  01 1900 01000000 14") + nordvik);
  EXPECT_EQ(watcher.receive(), pdc + hex("04 0000 2f00 0700  01 0400 00000000"));
  EXPECT_EQ(watcher.receive_many(all_down.size()), all_down) << "the modem restarts";
}

TEST(tvk_modem_pdc, wrong_requests_are_refused_without_an_outcome) {
  const simulated_modem modem;
  const connection client(modem.socket());
  const struct {
    const char* request;  ///< message id, TLV bytes, TLVs
    const char* error;
  } rows[] = {
      {"2200 0000", "1100"},
      {"2200 0500  01 0200 0100", "0100"},
      {"2700 0700  01 0400 02000000", "3000"},
      {"2400 0700  11 0400 02000000", "3000"},
      {"2400 0400  11 0100 01", "0100"},
      {"2300 0900  01 0600 01000000 02 aa", "0100"},
      {"2300 0800  01 0500 01000000 00", "3000"},
      {"2300 8500  01 8200 01000000 7d aa*125", "3000"},
      {"2500 0700  01 0400 01000000", "1100"},
      {"2600 0f00  01 0c00 01000000 01 aa 00000000 0000", "3000"},
      {"2600 0f00  01 0c00 01000000 01 aa 05000000 0200", "0100"},
      {"2100 0000", "4700"},  // only an indication
      {"3000 0000", "4700"},
  };
  for (const auto& each : rows) {
    SCOPED_TRACE(each.request);
    const bytes request = hex(each.request);
    EXPECT_EQ(
        client.ask(pdc + hex("00 0100") + request),
        pdc + hex("02 0100") + slice(request, 0, 2) + hex("0700  02 0400 0100") + hex(each.error));
  }
  EXPECT_EQ(client.ask(get_selected), get_selected_answer);
  EXPECT_EQ(client.receive(), generic_is_selected);
}

TEST(tvk_modem_pdc, load_belongs_to_its_client_and_only_a_whole_one_is_kept) {
  simulated_modem modem;
  const auto chunk = [](const connection& client, const char* bytes_of_chunk) {
    const bytes data = hex(bytes_of_chunk);
    const auto size = static_cast<std::uint8_t>(data.size());
    const auto tlv = static_cast<std::uint8_t>(12 + size);
    EXPECT_EQ(
        client.ask(pdc + hex("00 0100 2600") + bytes{static_cast<std::uint8_t>(3 + tlv), 0} +
                   bytes{0x01, tlv, 0} + hex("01000000 01 aa 06000000") + bytes{size, 0} + data),
        pdc + hex("02 0100 2600 0700") + done);
    return client.receive();
  };
  const auto progress = [](const char* tlvs) {
    const bytes rest = hex(tlvs);
    return pdc + hex("04 0000 2600") + bytes{static_cast<std::uint8_t>(5 + rest.size()), 0x00} +
           hex("01 0200 0000") + rest;
  };
  const bytes half = progress("11 0400 03000000  12 0400 03000000");
  const bytes whole = progress("11 0400 06000000  12 0400 00000000");
  { EXPECT_EQ(chunk(connection(modem.socket()), "010203"), half); }
  std::optional<connection> client(std::in_place, modem.socket());
  EXPECT_EQ(chunk(*client, "010203"), half) << "the first client's is gone";
  EXPECT_EQ(chunk(*client, "04050607"), progress("11 0400 00000000  12 0400 06000000  13 0100 01"));
  EXPECT_EQ(chunk(*client, "010203"), half);
  EXPECT_EQ(chunk(*client, "040506"), whole);
  modem.kill();
  modem.start();
  client.emplace(modem.socket());
  EXPECT_EQ(chunk(*client, "010203"), pdc + hex("04 0000 2600 0500  01 0200 2900"));
}

TEST(tvk_modem_pdc, fault_of_an_answer_strikes_its_outcome_too) {
  simulated_modem modem({"pdc/0x22@1=error:3", "pdc/0x22@2=delay:200"}, {"--hold-time"});
  const connection client(modem.socket());
  EXPECT_EQ(client.ask(get_selected), pdc + hex("02 0100 2200 0700  02 0400 0100 0300"));
  ASSERT_TRUE(client.send(get_selected));
  modem.let_pass(199);
  EXPECT_EQ(client.ask(look_up_nothing), end_of_list);
  modem.let_pass(1);
  EXPECT_EQ(client.receive_many(2), (std::vector{get_selected_answer, generic_is_selected}));
}

}  // namespace
