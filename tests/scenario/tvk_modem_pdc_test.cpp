// The simulated modem's configuration service, byte by byte.
#include <optional>

#include "support/modem_connection.h"
#include "support/simulated_modem.h"
#include "support/test.h"

namespace {

using namespace support;
using namespace support::packets;
using connection = modem_connection;

constexpr std::uint8_t port = 4;
const bytes nordvik = hex("41c715ea920b6df3882e57b409da63fc1e70a538");
const bytes software = hex("01 0400 01000000");
const bytes no_error = hex("01 0200 0000");

bytes indication(const char* message, const bytes& tlvs) {
  return pdc + hex("04 0000") + hex(message) + u16(tlvs.size()) + tlvs;
}
const bytes generic_is_selected =
    no_error + hex("11 1500 14 09d27b61e834af501c9386fd2a4eb705c81972d6");

TEST(tvk_modem_pdc, outcome_follows_the_answer_and_those_who_registered_hear_of_it) {
  const simulated_modem modem;
  const connection client(modem.socket());
  const connection watcher(modem.socket());
  EXPECT_EQ(watcher.look_up(look_up_all), listed(all_up));
  EXPECT_EQ(watcher.ask(port, "2000", hex("10 0100 01  11 0100 01")), done);
  EXPECT_EQ(client.ask(port, "2900", software),
            done + hex("11 0800 0000400000000000  12 0800 c000000000000000"));

  const bytes token = hex("10 0400 44332211");
  EXPECT_EQ(client.ask(port, "2300", hex("01 1900 01000000 14") + nordvik + token), done + token);
  EXPECT_EQ(client.receive(), indication("2300", no_error + token));
  EXPECT_EQ(watcher.ask(port, "2200", software), done) << "pending changes nothing yet";
  EXPECT_EQ(watcher.receive(),
            indication("2200", generic_is_selected + hex("12 1500 14") + nordvik));
  EXPECT_EQ(client.ask(port, "2700", software + token), done + token);
  EXPECT_EQ(client.receive(), indication("2700", no_error + token));
  EXPECT_EQ(watcher.receive(), indication("2100", hex("01 1900 01000000 14") + nordvik));
  EXPECT_EQ(watcher.receive(), indication("2f00", hex("01 0400 00000000")));
  EXPECT_EQ(watcher.receive_many(all_down.size()), all_down) << "the modem restarts";
}

TEST(tvk_modem_pdc, wrong_requests_are_refused_without_an_outcome) {
  const simulated_modem modem;
  const connection client(modem.socket());
  const struct {
    const char* message;
    const char* tlvs;
    const char* error;
  } rows[] = {
      {"2200", "", "1100"},
      {"2200", "01 0200 0100", "0100"},
      {"2700", "01 0400 02000000", "3000"},
      {"2400", "11 0400 02000000", "3000"},
      {"2400", "11 0100 01", "0100"},
      {"2300", "01 0600 01000000 02 aa", "0100"},
      {"2300", "01 0700 01000000 01 aabb", "0100"},
      {"2300", "01 0500 01000000 00", "3000"},
      {"2300", "01 8200 01000000 7d aa*125", "3000"},
      {"2500", "01 0400 01000000", "1100"},
      {"2600", "01 0c00 01000000 01 aa 00000000 0000", "3000"},
      {"2600", "01 0c00 01000000 01 aa 05000000 0200", "0100"},
      {"2100", "", "4700"},  // only an indication
      {"3000", "", "4700"},
  };
  for (const auto& [message, tlvs, error] : rows) {
    EXPECT_EQ(client.ask(port, message, hex(tlvs)), failed(error)) << message << ": " << tlvs;
  }
  EXPECT_EQ(client.ask(port, "2200", software), done);
  EXPECT_EQ(client.receive(), indication("2200", generic_is_selected));
}

TEST(tvk_modem_pdc, load_belongs_to_its_client_and_only_a_whole_one_is_kept) {
  simulated_modem modem;
  const auto chunk = [](const connection& client, const char* bytes_of_chunk) {
    const bytes data = hex(bytes_of_chunk);
    const bytes subject = hex("01000000 01 aa 06000000") + u16(data.size()) + data;
    EXPECT_EQ(client.ask(port, "2600", hex("01") + u16(subject.size()) + subject), done);
    return client.receive();
  };
  const auto progress = [](const char* tlvs) { return indication("2600", no_error + hex(tlvs)); };
  const bytes half = progress("11 0400 03000000  12 0400 03000000");
  const bytes whole = progress("11 0400 06000000  12 0400 00000000");
  EXPECT_EQ(chunk(connection(modem.socket()), "010203"), half);
  std::optional<connection> client(std::in_place, modem.socket());
  EXPECT_EQ(chunk(*client, "010203"), half) << "the first client's is gone";
  EXPECT_EQ(chunk(*client, "04050607"), progress("11 0400 00000000  12 0400 06000000  13 0100 01"));
  EXPECT_EQ(chunk(*client, "010203"), half);
  EXPECT_EQ(chunk(*client, "040506"), whole);
  modem.kill();
  modem.start();
  client.emplace(modem.socket());
  EXPECT_EQ(chunk(*client, "010203"), indication("2600", hex("01 0200 2900")));
}

TEST(tvk_modem_pdc, fault_of_an_answer_strikes_its_outcome_too) {
  simulated_modem modem({"pdc/0x22@1=error:3", "pdc/0x22@2=delay:200"}, {"--hold-time"});
  const connection client(modem.socket());
  EXPECT_EQ(client.ask(port, "2200", software), failed("0300"));
  ASSERT_TRUE(client.send(pdc + hex("00 0100 2200 0700") + software));
  modem.let_pass(199);
  EXPECT_EQ(client.ask(look_up_nothing), end_of_list);
  modem.let_pass(1);
  EXPECT_EQ(client.receive_many(2), (std::vector{pdc + hex("02 0100 2200 0700") + done,
                                                 indication("2200", generic_is_selected)}));
}

}  // namespace
