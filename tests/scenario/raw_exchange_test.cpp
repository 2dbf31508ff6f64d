// `tvk 6 0 0x1f 255 0x100` against answers written byte by byte.
//
// A message of the extension service: flags u8, transaction u16, message id u16, TLV bytes u16,
// then TLV 0x01 u32 type or result, TLV 0x02 u32 number of payload bytes, TLV 0x10 512 payload
// bytes.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "support/bytes.h"
#include "support/hand_modem.h"
#include "support/printed.h"
#include "support/simulated_modem.h"

namespace {

using support::bytes;
using support::datagram;
using support::fill;
using support::hand_modem;
using support::hex;
using support::qmi_response;
using support::operator+;

const std::string up_to_the_exchange =
    "nl_qmi req data(qmi_id: 0, len: 3[max: 500]):\n"
    "0x1F 0xFF 0x00 \n" +
    support::client_made;
const std::string success =
    "norvel_extend_qmi_send_sync resp_len:0\n"
    "norvel_extend_qmi_handle_req_cb result:0\n"
    "qmi_id = 0, result = 0\n"
    "nl_qmi rsp data(qmi_id: 0, len: 0[max: 500]):\n"
    "\n";
const std::string failure =
    "norvel_extend_qmi_handle_req_cb result:-3\n"
    "qmi_id = 0, result = -3\n"
    "norvel_extend_qmi_send_sync fail\n"
    "\n"
    "=========== blew: tarvik_console(tvk) cmd help "
    "=======================================================\n"
    "6: norvel qmi send_data\n"
    "   tvk 6 qmi_id qmi_data         /* qmi_id: Any binary data you will send */\n"
    "                                    qmi_data: Any binary data you will send \n"
    "=========== above: tarvik_console(tvk) cmd help "
    "=======================================================\n"
    "\n";

std::string failure_with(int code) {
  return "send msg sync failed:" + std::to_string(code) + "\n" + failure;
}

const bytes type_0 = hex("01 0400 00000000");
const bytes len_3 = hex("02 0400 03000000");
const bytes payload = hex("10 0002 aabbcc") + fill(509);

constexpr std::uint32_t control_port = 0xFFFFFFFE;
const datagram gone = {1, control_port, hex("05000000 e4ff0000 01000000 00000000 01010000")};

support::process_result exchange(const hand_modem& modem) {
  return support::run_console(modem.endpoint(), {"6", "0", "0x1f", "255", "0x100"});
}

void expect_output(const support::process_result& got, const std::string& after_start) {
  EXPECT_EQ(got.output, up_to_the_exchange + after_start);
  EXPECT_EQ(got.errors, "");
  EXPECT_EQ(got.exit_status, 0);
}

std::vector<datagram> right_answer(const datagram& request) {
  return {{request.node, request.port, qmi_response(request.data, type_0 + len_3 + payload)}};
}

TEST(raw_exchange, request_bytes_are_those_of_the_service_and_the_answer_ends_the_command) {
  hand_modem modem({{.service = 0xFFE4, .instance_word = 0x0301, .node = 0, .port = 0x4007}});
  modem.on_request(right_answer);
  const auto got = exchange(modem);
  const auto requests = modem.requests();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].node, 0U);
  EXPECT_EQ(requests[0].port, 0x4007U);
  EXPECT_EQ(requests[0].data, hex("00 0100 0200 1102  01 0400 00000000  02 0400 03000000"
                                  "10 0002 1fff00") +
                                  fill(509));
  expect_output(got, success);
}

TEST(raw_exchange, first_of_two_servers_gets_the_request) {
  hand_modem modem({{.port = 0x105}, {.instance_word = 0x0201, .port = 0x106}});
  modem.on_request(right_answer);
  const auto got = exchange(modem);
  EXPECT_NE(got.output.find("returned 0 num_entries = 2 num_services = 2\n"), std::string::npos)
      << got.output;
  ASSERT_EQ(modem.requests().size(), 1U);
  EXPECT_EQ(modem.requests()[0].port, 0x105U);
}

TEST(raw_exchange, answer_with_these_tlvs_gives_this_outcome) {
  const struct {
    const char* name;
    bytes tlvs;
    std::string outcome;
  } rows[] = {
      {"in order", type_0 + len_3 + payload, success},
      {"in another order", payload + len_3 + type_0, success},
      {"without payload", type_0 + len_3, success},
      {"unknown optional TLVs", hex("11 0100 ff ff 0000") + type_0 + len_3, success},
      {"no type, but the length's first byte is not 0", len_3 + payload, success},
      {"no type, length 256", hex("02 0400 00010000") + payload, failure_with(-46)},
      {"nothing", {}, failure_with(-46)},
      {"no length", type_0 + payload, failure_with(-46)},
      {"unknown mandatory TLV", type_0 + len_3 + hex("03 0400 00000000"), failure_with(-49)},
      {"type twice", type_0 + type_0 + len_3, failure_with(-44)},
      {"unknown TLV past the end", type_0 + len_3 + hex("77 ffff 00"), failure_with(-45)},
      {"payload of 511 bytes", type_0 + len_3 + hex("10 ff01") + fill(511), failure_with(-45)},
      {"result -1", hex("01 0400 ffffffff") + len_3,
       "-1 QMI service framework error. Check client\n" + failure},
      {"length above the payload's room", type_0 + hex("02 0400 ffffffff") + payload, success},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    hand_modem modem;
    modem.answer_with_tlvs(row.tlvs);
    expect_output(exchange(modem), row.outcome);
  }
}

// Longer than the longest message, so that it may be cut by the receiver: any transport code. That
// the server goes spares the wait for another answer.
TEST(raw_exchange, answer_longer_than_the_service_allows_fails) {
  std::mt19937 random(1);
  bytes noise(65528);
  for (auto& each : noise) each = static_cast<std::uint8_t>(random());
  for (const auto& tlvs : {type_0 + len_3 + hex("10 0102") + fill(513),
                           type_0 + len_3 + payload + payload, noise, fill(65528)}) {
    SCOPED_TRACE(tlvs.size());
    hand_modem modem;
    modem.on_request([&tlvs](const datagram& request) {
      return std::vector<datagram>{{request.node, request.port, qmi_response(request.data, tlvs)},
                                   gone};
    });
    const auto got = exchange(modem);
    EXPECT_TRUE(got.output.starts_with(up_to_the_exchange + "send msg sync failed:-"))
        << got.output;
    EXPECT_TRUE(got.output.ends_with(failure)) << got.output;
    EXPECT_EQ(got.signal, 0);
    EXPECT_EQ(got.exit_status, 0);
  }
}

TEST(raw_exchange, datagram_that_is_no_answer_is_dropped_and_the_answer_behind_it_counts) {
  std::mt19937 random(2);
  bytes noise(65535);
  for (auto& each : noise) each = static_cast<std::uint8_t>(random());
  noise[0] = 0x5A;                                    // no kind of message
  const auto tlvs = hex("01 0400 09000000") + len_3;  // taken for the answer, it would show
  const struct {
    const char* name;
    datagram first;
  } rows[] = {
      {"empty", {0, 0x101, {}}},
      {"one byte", {0, 0x101, hex("02")}},
      {"6 bytes", {0, 0x101, hex("02 0100 0200 00")}},
      {"length above the rest", {0, 0x101, hex("02 0100 0200 0f00") + tlvs}},
      {"length below the rest", {0, 0x101, hex("02 0100 0200 0d00") + tlvs}},
      {"another transaction", {0, 0x101, hex("02 0200 0200 0e00") + tlvs}},
      {"transaction 0", {0, 0x101, hex("02 0000 0200 0e00") + tlvs}},
      {"a request", {0, 0x101, hex("00 0100 0200 0e00") + tlvs}},
      {"65535 bytes of noise", {0, 0x101, noise}},
      {"short control packet",
       {1, control_port, hex("05000000 e4ff0000 01000000 00000000 010100")}},
      {"unknown control packet", {1, control_port, hex("63000000") + fill(16, 0xEE)}},
      {"other service gone",
       {1, control_port, hex("05000000 11000000 01000000 00000000 01010000")}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    hand_modem modem;
    modem.on_request([&row](const datagram& request) {
      return std::vector<datagram>{row.first, right_answer(request)[0]};
    });
    expect_output(exchange(modem), success);
  }
}

TEST(raw_exchange, indication_is_printed_and_the_answer_still_counts) {
  const struct {
    const char* name;
    bytes indication;
    const char* printed;
  } rows[] = {
      {"last known number, our transaction",
       hex("04 0100 0300 0e00  01 0400 06000000  02 0400 00000000"),
       "NORVEL__EXTEND_QMI: Indication msg_id=0x3 buf_len=14 \n"
       "No function defined to handle indication: 6"},
      {"unknown number with payload",
       hex("04 0000 0300 1102  01 0400 07000000  02 0400 00020000  10 0002") + fill(512, 0xA5),
       "NORVEL__EXTEND_QMI: Indication msg_id=0x3 buf_len=529 \n"
       "Indicaion: 7 greater than maximum known indication."},
      {"empty", hex("04 0000 0300 0000"),
       "NORVEL__EXTEND_QMI: Indication msg_id=0x3 buf_len=0 \n"
       "No function defined to handle indication: 0"},
      {"unknown message", hex("04 0000 cdab 0e00  01 0400 09000000  02 0400 00000000"),
       "NORVEL__EXTEND_QMI: Indication msg_id=0xabcd buf_len=14 \n"
       "No function defined to handle indication: 0"},
      {"damaged behind the number", hex("04 0000 0300 0a00  01 0400 09000000  02 0400"),
       "NORVEL__EXTEND_QMI: Indication msg_id=0x3 buf_len=10 \n"
       "Indicaion: 9 greater than maximum known indication."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    hand_modem modem;
    modem.on_request([&](const datagram& request) {
      return std::vector<datagram>{{request.node, request.port, row.indication},
                                   right_answer(request)[0]};
    });
    expect_output(exchange(modem), row.printed + success);
  }
}

TEST(raw_exchange, no_socket_takes_the_place_of_a_closed_standard_descriptor) {
  if (TVK_CROSS_BUILD) GTEST_SKIP() << "a shell does not run the programs of a cross build";
  const struct {
    const char* closed;
    bool prints;
  } rows[] = {{"<&-", true}, {">&-", false}, {"2>&-", true}, {"<&- >&- 2>&-", false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.closed);
    hand_modem modem;
    modem.on_request(right_answer);
    const auto got = support::run(
        "sh", {"-c", std::string("exec \"$0\" 6 0 0x1f 255 0x100 ") + row.closed, TVK_PROGRAM},
        {{"TVK_MODEM", modem.endpoint()}});
    EXPECT_EQ(got.output, row.prints ? up_to_the_exchange + success : "");
    EXPECT_EQ(got.exit_status, 0);
    EXPECT_EQ(modem.requests().size(), 1U) << "and nothing that was printed";
  }
}

}  // namespace
