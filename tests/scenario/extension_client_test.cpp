// The extension service's client and the common message sender, against both modems. The client is
// made once per process and never released, so each test here needs a process of its own.
#include <stdlib.h>

#include <thread>

#include "norvel_extend_qmi/norvel_extend_client.h"
#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "support/hand_modem.h"
#include "support/printed.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

void use_modem(const std::string& endpoint) {
  setenv("TVK_MODEM", endpoint.c_str(), 1);
}

bytes counting(std::size_t size, unsigned first = 1) {
  bytes out(size);
  for (std::size_t i = 0; i < size; ++i) out[i] = static_cast<std::uint8_t>(first + i);
  return out;
}

struct outcome {
  int result = 1;
  unsigned int length = 0;
  bytes received;  ///< the caller's buffer: 512 bytes and a guard, 0xEE where nothing was written
  std::string printed;
};

outcome exchange(bytes request, unsigned int capacity, unsigned int type = 0) {
  outcome got;
  got.length = capacity;
  got.received = fill(512 + 64, 0xEE);
  got.printed = printed_by([&] {
    got.result = norvel_extend_qmi_send_sync(type, request.data(), static_cast<int>(request.size()),
                                             got.received.data(), &got.length);
  });
  return got;
}

// Nothing listens at the endpoint: a call that looked for the service would wait forever.
TEST(extension_client, arguments_are_refused_before_any_traffic) {
  const temp_dir dir;
  use_modem("unix:" + dir.file("modem.sock"));
  bytes data(600);
  const struct {
    unsigned char* request;
    int size;
    unsigned int capacity;
    const char* printed;
  } rows[] = {{data.data(), 513, 0, "put data_len 513 > max 512\n"},
              {data.data(), -1, 0, "put data_len -1 > max 512\n"},
              {data.data(), 3, 513, "put data_len 3 > max 512\n"},
              {nullptr, 513, 513, "0,  put Invalid param\n"}};
  for (const auto& row : rows) {
    auto length = row.capacity;
    const auto refused = [&] {
      EXPECT_EQ(norvel_extend_qmi_send_sync(0, row.request, row.size, data.data(), &length), -1);
    };
    EXPECT_EQ(printed_by(refused), row.printed);
  }
}

// The announced length may be more than the payload has.
TEST(extension_client, answer_is_cut_to_the_callers_room_and_its_own) {
  hand_modem modem;
  use_modem(modem.endpoint());
  const bytes payload = hex("10 0002") + counting(512);
  // The announced length, the payload, the caller's room, what is copied.
  const std::tuple<std::string, bytes, unsigned int, std::size_t> rows[] = {
      {"00020000", payload, 512, 512}, {"2c010000", payload, 301, 300},
      {"2c010000", payload, 299, 299}, {"2c010000", payload, 0, 0},
      {"01020000", payload, 512, 512}, {"00000080", payload, 512, 512},
      {"ffffffff", payload, 7, 7},     {"2c010000", {}, 512, 0},
  };
  for (const auto& [announced, sent, room, copied] : rows) {
    modem.answer_with_tlvs(hex("01 0400 00000000  02 0400") + hex(announced) + sent);
    const auto got = exchange(counting(512), room);
    EXPECT_EQ(got.result, 0);
    EXPECT_EQ(got.length, copied);
    EXPECT_EQ(got.received, counting(copied) + fill(512 + 64 - copied, 0xEE));
  }
}

TEST(extension_client, second_request_uses_the_same_client_and_carries_nothing_of_the_first) {
  hand_modem modem;
  use_modem(modem.endpoint());
  modem.answer_with_tlvs(hex("01 0400 00000000  02 0400 00000000"));
  EXPECT_EQ(exchange(fill(512, 0x77), 0, 5).printed, client_made + exchanged(0));
  EXPECT_EQ(exchange(hex("0a0b"), 0, 0x01020304).printed, exchanged(0));
  const auto requests = modem.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[0].data,
            hex("00 0100 0200 1102  01 0400 05000000  02 0400 00020000  10 0002 77*512"));
  EXPECT_EQ(requests[1].data,
            hex("00 0200 0200 1102  01 0400 04030201  02 0400 02000000  10 0002  0a0b 00*510"));
}

TEST(extension_client, failure_leaves_the_callers_buffer_and_the_next_exchange_works) {
  use_modem("bogus");
  const auto failed = exchange(counting(20), 512);
  EXPECT_EQ(failed.result, -2);
  EXPECT_TRUE(failed.printed.ends_with("norvel_extend_qmi_handle_req_cb result:-2\n"));
  const simulated_modem modem({"extension/2@1=result:9"});
  use_modem(modem.endpoint());
  const auto refused = exchange(counting(20), 512);
  EXPECT_EQ(refused.result, -3);
  EXPECT_EQ(refused.received, fill(512 + 64, 0xEE));
  EXPECT_EQ(refused.printed, client_made +
                                 "9 QMI service framework error. Check client\n"
                                 "norvel_extend_qmi_handle_req_cb result:-3\n");
  EXPECT_EQ(exchange(counting(20), 512).length, 20U);
}

TEST(extension_client, exchanges_of_eight_threads_do_not_mix) {
  const simulated_modem modem;
  use_modem(modem.endpoint());
  quiet_notes = 1;
  std::vector<std::jthread> threads;
  for (unsigned thread = 0; thread < 8; ++thread) {
    threads.emplace_back([thread] {
      for (unsigned i = 0; i < 50; ++i) {
        auto request = counting(20 + 50 * thread + i, 31 * thread + i);
        bytes answer(512);
        unsigned int length = 512;
        EXPECT_EQ(
            norvel_extend_qmi_send_sync(thread % 2, request.data(),
                                        static_cast<int>(request.size()), answer.data(), &length),
            0);
        answer.resize(length);
        EXPECT_EQ(answer, request);
      }
    });
  }
}

/// 508 bytes that the sender must clear, and a guard that it must leave.
bytes send_common(unsigned int length, unsigned char* payload) {
  auto answer = fill(508 + 64, 0xEE);
  norvel_send_common_qmi_msg(31, length, payload, answer.data());
  return answer;
}

TEST(common_message, payload_is_cut_at_496_bytes_and_the_answer_at_508) {
  hand_modem modem;
  use_modem(modem.endpoint());
  quiet_notes = 1;
  modem.answer_with_tlvs(hex("01 0400 00000000  02 0400 00020000  10 0002") + counting(512));
  auto payload = counting(500);
  EXPECT_EQ(send_common(4, payload.data()), counting(508) + fill(64, 0xEE));
  EXPECT_EQ(send_common(500, payload.data()), counting(508) + fill(64, 0xEE));
  modem.answer_with_tlvs(hex("01 0400 01000000  02 0400 00000000"));
  EXPECT_EQ(send_common(0, nullptr), fill(508) + fill(64, 0xEE)) << "cleared";
  const auto sent = modem.requests();
  ASSERT_EQ(sent.size(), 3U);
  EXPECT_EQ(sent[0].data, hex("00 0100 0200 1102  01 0400 04000000  02 0400 00020000  10 0002"
                              "02000000 00000000 1f000000 04000000  01020304 00*492"));
  EXPECT_EQ(sent[1].data, hex("00 0200 0200 1102  01 0400 04000000  02 0400 00020000  10 0002"
                              "02000000 00000000 1f000000 f4010000") +
                              counting(496));
}

TEST(result_map, client_codes_become_those_of_the_nv_layer_and_others_stay) {
  const int rows[][2] = {{-1, -101}, {-2, -102}, {-3, -103}, {-4, -4}, {1, 1}, {-101, -101}};
  for (const auto& [old_result, new_result] : rows) {
    EXPECT_EQ(norvel_qmi_result_map(old_result), new_result);
  }
}

}  // namespace
