// The UIM client and the eSIM switch test, mostly against a modem that misbehaves.
// The client lives as long as the process, so each test here needs a process of its own.
#include <stdlib.h>

#include <chrono>

#include "norvel_extend_qmi/norvel_extend_cmn_uim.h"
#include "support/hand_modem.h"
#include "support/pauses.h"
#include "support/printed.h"
#include "support/simulated_modem.h"
#include "support/test.h"
#include "tvk/norvel_qmi_test_cmn.h"

namespace {

using namespace std::chrono_literals;
using namespace support;

constexpr qmi_server uim = {0x0B, 0x0101, 0, 0x10B};
constexpr qmi_server extension = {};

const bytes done = hex("02 0400 0000 0000");
const bytes refused = hex("02 0400 0100 0300");

class uim_client : public testing::Test {
 protected:
  uim_client() { setenv("TVK_MODEM", modem_.endpoint().c_str(), 1); }

  hand_modem modem_{{uim, extension}};
};
class esim_switch : public uim_client {};

int power(std::int32_t up, std::int32_t ignore_hotswap = 0) {
  const norvel_uicc_power params{up, 2, ignore_hotswap};
  return norvel_uim_request_uicc_power_ex(&params);
}

const std::string power_function = "norvel_uim_request_uicc_power_ex";
const std::string client_opened =
    "RIL[init_uim_qmi_client:#]: init_uim_qmi_client #\n" +
    log_lines(power_function, {power_function + " try init_uim_qmi_client #"});
const std::string recovered = log_lines(
    "uim_qmi_client_recovery", {"uim_qmi_client_recovery qmi_client_release #", function_exit});

/// What powering down prints: first about the client, and the outcome.
std::string powered_down(const std::string& about_client, int result, int failures) {
  const auto counted = [&](const char* text) {
    return text + std::to_string(result) + ", failed_cnt = " + std::to_string(failures);
  };
  std::vector<std::string> last = {power_function + " uim_qmi_client #",
                                   power_function + " power down sim"};
  if (result != 0) last.push_back(counted("send msg sync client error = "));
  last.push_back(counted("uicc_power_ex res = "));
  return log_lines(power_function, {function_entry}) + about_client +
         log_lines(power_function, last);
}

TEST_F(uim_client, requests_as_bytes_and_a_refusal_of_power_that_counts_as_done) {
  modem_.answer_with_tlvs(refused);
  std::uint8_t channel = 9;
  norvel_apdu_response response{};
  const bytes apdu = hex("80e2910000");
  printed_by([&] {
    EXPECT_EQ(power(0), 0);
    EXPECT_EQ(power(1, 7), 0);
    norvel_card_states states{3, 3};
    EXPECT_TRUE(norvel_uim_get_card_status(states));
    EXPECT_EQ(states, (norvel_card_states{3, 3}));
    EXPECT_EQ(norvel_uim_open_channel(2, hex("a000000559"), channel), -1);
    EXPECT_EQ(channel, 255);
    EXPECT_EQ(norvel_uim_send_apdu(2, 1, apdu, response), -1);
    EXPECT_EQ(norvel_uim_close_channel(2, 1), -1);
  });
  const char* const expected[] = {
      "00 0100 3000 0400  01 0100 02",
      "00 0200 3100 0c00  01 0100 02  10 0100 01  11 0100 00",
      "00 0300 2f00 0400  10 0100 01",
      "00 0400 4200 1100  01 0100 02  10 0600 05 a000000559  11 0100 01",
      "00 0500 3b00 1600  01 0100 02  02 0700 0500 80e2910000  10 0100 01  11 0100 01",
      "00 0600 3f00 0c00  01 0100 02  11 0100 01  13 0100 01",
  };
  const auto sent = modem_.requests();
  ASSERT_EQ(sent.size(), std::size(expected));
  for (std::size_t i = 0; i < sent.size(); ++i) EXPECT_EQ(sent[i].data, hex(expected[i])) << i;
}

TEST_F(uim_client, service_that_went_away_is_looked_for_by_the_next_request) {
  modem_.answer_with_tlvs(done);
  const auto power_down = [] { EXPECT_EQ(power(0), 0); };
  EXPECT_EQ(printed_by(power_down), powered_down(client_opened, 0, 0));
  EXPECT_EQ(printed_by([&] {
              modem_.withdraw(uim);
              wait_until_printed("set SSR_Detected 1\n");
            }),
            log_lines("error_cb", {"QMI error callback -2", "SSR Detected, set SSR_Detected 1"}));
  modem_.publish(uim);
  EXPECT_EQ(printed_by(power_down),
            powered_down(log_lines(power_function, {"SSR_Detected, try recovery"}) + recovered +
                             client_opened,
                         0, 0));
  EXPECT_EQ(printed_by(power_down), powered_down("", 0, 0));
}

// A response with another message id fails at once with -14.
TEST_F(uim_client, third_failure_in_a_row_makes_the_next_request_begin_anew) {
  modem_.on_request([](const datagram& request) {
    bytes wrong = request.data;
    wrong[3] = 0x99;
    return std::vector<datagram>{{request.node, request.port, qmi_response(wrong, done)}};
  });
  const auto power_down = [] { EXPECT_EQ(power(0), -14); };
  EXPECT_EQ(printed_by(power_down), powered_down(client_opened, -14, 1));
  EXPECT_EQ(printed_by([] {
              std::uint8_t none[norvel_eid_size] = {};
              norvel_uim_request_eid(2, none);
            }),
            log_lines("norvel_uim_request_eid",
                      {function_entry, "norvel_uim_request_eid uim_qmi_client #",
                       "send msg sync client error = -14", function_exit}));
  EXPECT_EQ(printed_by(power_down), powered_down("", -14, 3) +
                                        log_lines(power_function, {"QMI error, try recovery"}) +
                                        recovered);
  EXPECT_EQ(printed_by(power_down), powered_down(client_opened, -14, 1));
}

TEST_F(uim_client, no_more_cards_are_taken_than_there_is_room_for) {
  modem_.answer_with_tlvs(done + hex("13 1500 00 00 03 00 00*5 01 00*5 01 00*5"));
  norvel_card_states states{3, 3};
  const auto printed = printed_by([&] { EXPECT_TRUE(norvel_uim_get_card_status(states)); });
  EXPECT_EQ(states, (norvel_card_states{0, 1}));
  EXPECT_PRED2(contains, printed, "SIM[1] State = 1\n");
  EXPECT_FALSE(contains(printed, "SIM[2]"));
}

TEST_F(uim_client, eid_is_taken_only_from_a_good_answer_that_has_it) {
  const bytes untouched(norvel_eid_size, 0xEE);
  const bytes eid = hex("89049032000000000000000000000066");
  const auto eid_tlv = hex("10 1100 10") + eid;
  for (const auto& tlvs : {done, refused + eid_tlv, done + eid_tlv}) {
    modem_.answer_with_tlvs(tlvs);
    bytes got = untouched;
    printed_by([&] { norvel_uim_request_eid(2, got.data()); });
    EXPECT_EQ(got, tlvs == done + eid_tlv ? eid : untouched);
  }
  EXPECT_EQ(modem_.requests().at(0).data, hex("00 0100 6500 0400 01 0100 02"));
}

TEST_F(uim_client, indications_are_printed_and_97_is_decoded) {
  modem_.answer_with_tlvs(done);
  printed_by([] { EXPECT_EQ(power(0), 0); });
  const struct {
    const char* message;
    std::vector<std::string> printed;
  } rows[] = {
      {"04 0100 6200 0700  01 0400 07000000", {"msg_id 98"}},
      {"04 0200 6100 0e00  01 0400 07000000  02 0400 08000000",
       {"msg_id 97", "qmi_client_message_decode result = 0"}},
      {"04 0300 6100 0700  01 0400 07000000",
       {"msg_id 97", "qmi_client_message_decode result = -46",
        "purge guti failed. resp.result = 7 ,resp.result = 0"}},
      {"04 0400 6100 0000", {"msg_id 97", "qmi_client_uim or ind_buf is NULL"}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(printed_by([&] {
                modem_.send({0, uim.port, hex(row.message)});
                wait_until_printed(row.printed.back() + "\n");
              }),
              log_lines("norvel_uim_qmi_client_unsol_ind_cb", row.printed));
  }
}

int esim_test(std::string esim_on, std::string debug_on) {
  std::string words[] = {"tvk", "5", "10", std::move(esim_on), std::move(debug_on)};
  char* argv[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(),
                  words[4].data()};
  return norvel_cmn_esim_test(5, argv);
}

// Eight bytes of zero are not an EID.
TEST_F(esim_switch, eid_with_letters_is_shown_as_a_failure_and_without_one_30_attempts_are_made) {
  int zeros = 0;
  modem_.on_request([&zeros](const datagram& request) {
    if (request.data.at(3) != 0x65) return reply(request, done);
    return reply(request, done + hex(zeros-- > 0 ? "10 1100 10 00*8 ff*8"
                                                 : "10 1100 10 8904903200000000000000000000ab66"));
  });
  const std::pair<std::string, int> rows[] = {
      {"value=FAILED - 8904903200000000000000000000ab66\n", 3}, {"value=FAILED\n", 30}};
  for (const auto& [printed, attempts] : rows) {
    zeros = attempts - (attempts == 3 ? 1 : 0);
    EXPECT_EQ(printed_by([] { EXPECT_EQ(esim_test("1", "0"), 0); }), printed);
    EXPECT_EQ(take_pauses(), std::vector(static_cast<std::size_t>(attempts), 100ms));
  }
  // The notice is between the requests for power, of which the second ignores the hot swap.
  const auto sent = modem_.requests();
  ASSERT_GE(sent.size(), 3U);
  EXPECT_EQ(sent[1].port, extension.port);
  EXPECT_EQ(slice(sent[1].data, 24, 48),
            hex("02000000 00000000 54000000 08000000 00000000 00000000"));
  EXPECT_EQ(sent[2].data, hex("00 0200 3100 0c00  01 0100 02  10 0100 01  11 0100 00"));
}

TEST_F(esim_switch, eid_is_saved_once_and_never_over_another) {
  const simulated_modem modem;
  setenv("TVK_MODEM", modem.endpoint().c_str(), 1);
  const auto output = [&](const std::vector<std::string>& arguments) {
    return run_console(modem.endpoint(), arguments).output;
  };
  const auto twice = printed_by([] { EXPECT_EQ(esim_test("1", "1") + esim_test("1", "1"), 0); });
  EXPECT_PRED2(contains, twice, "save eid successfully, set IS_EID_SAVE TRUE\n");
  EXPECT_PRED2(contains, twice, "save_eid_to_efs:#]: EID already saved, skip\n");
  EXPECT_PRED2(contains, output({"5", "10", "1", "1"}), "EID already exists, set IS_EID_SAVE TRUE");
  EXPECT_PRED2(contains, output({"4", "4", "1", "/nv/item_files/modem/uim/uimdrv/esim_eid"}),
               "data:  89 04 90 32 00 00 00 00 00 00 00 00 00 00 00 66\n");
}

TEST_F(esim_switch, reset_believes_two_answers_of_the_card) {
  // TLV 0x10 of the answers; the first two succeed.
  const char* const apdus[] = {"10 0a00 0800 bf34038001009000",
                               "10 0a00 0800 bf34038001019000",
                               "10 0a00 0800 bf34038001059000",
                               "10 0400 0200 6a82",
                               "10 0b00 0900 bf3403800100900000",
                               "10 0204 0004 bf34038001009000 00*1016",
                               ""};
  for (const char* const& apdu : apdus) {
    modem_.forget_requests();
    modem_.on_request([apdu](const datagram& request) {
      if (request.data.at(3) == 0x42) return reply(request, done + hex("10 0100 03"));
      if (request.data.at(3) == 0x3B) return reply(request, done + hex(apdu));
      return reply(request, refused);  // a close that fails does not matter
    });
    const bool succeeds = &apdu < apdus + 2;
    EXPECT_EQ(printed_by([] { EXPECT_EQ(esim_test("5", "0"), 0); }),
              succeeds ? "value=SUCCEED\n" : "value=FAILED\n")
        << apdu;
    const auto sent = modem_.requests();
    ASSERT_EQ(sent.size(), succeeds ? 3U : 2U);
    EXPECT_EQ(slice(sent[0].data, 7),
              hex("01 0100 02  10 1100 10 a0000005591010ffffffff8900000100  11 0100 01"));
    EXPECT_EQ(slice(sent[1].data, 7),
              hex("01 0100 02  02 0f00 0d00 80e2910007bf340482 0205e000  10 0100 03  11 0100 01"));
  }
}

}  // namespace
