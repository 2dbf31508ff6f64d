// The extension service's client and the common message sender, against both modems. The client is
// made once per process and never released, so each test here needs a process of its own.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "norvel_extend_qmi/norvel_extend_client.h"
#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "support/hand_modem.h"
#include "support/printed.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"

namespace {

using support::bytes;
using support::client_made;
using support::datagram;
using support::fill;
using support::hand_modem;
using support::hex;
using support::printed_by;
using support::simulated_modem;
using support::operator+;

void use_modem(const std::string& endpoint) {
  setenv("TVK_MODEM", endpoint.c_str(), 1);
}

bytes counting(std::size_t size, unsigned first = 1) {
  bytes out(size);
  for (std::size_t i = 0; i < size; ++i) out[i] = static_cast<std::uint8_t>(first + i);
  return out;
}

struct exchanged {
  int result = 1;
  unsigned int length = 0;
  bytes received;  ///< the caller's buffer: 512 bytes and a guard, 0xEE where nothing was written
  std::string printed;
};

exchanged exchange(bytes request, unsigned int capacity, unsigned int type = 0) {
  exchanged got;
  got.length = capacity;
  got.received = fill(512 + 64, 0xEE);
  const auto size = static_cast<int>(request.size());
  request.push_back(0);  // so that an empty request has an address
  got.printed = printed_by([&] {
    got.result =
        norvel_extend_qmi_send_sync(type, request.data(), size, got.received.data(), &got.length);
  });
  return got;
}

// Nothing listens at the endpoint: a call that looked for the service would wait for ever.
TEST(extension_client, arguments_are_refused_before_any_traffic) {
  const support::temp_dir dir;
  use_modem("unix:" + dir.file("modem.sock"));
  bytes data(600);
  char null_answer[64];
  std::snprintf(null_answer, sizeof(null_answer), "%x,  put Invalid param\n",
                static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(data.data())));
  const struct {
    const char* name;
    unsigned char* request;
    int request_size;
    void* answer;
    unsigned int capacity;
    std::string printed;
  } rows[] = {
      {"513 bytes", data.data(), 513, data.data(), 0, "put data_len 513 > max 512\n"},
      {"room for 513", data.data(), 3, data.data(), 513, "put data_len 3 > max 512\n"},
      {"no request", nullptr, 3, data.data(), 0, "0,  put Invalid param\n"},
      {"no request, too long", nullptr, 513, data.data(), 513, "0,  put Invalid param\n"},
      {"no answer", data.data(), 3, nullptr, 0, null_answer},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    unsigned int length = row.capacity;
    int result = 0;
    EXPECT_EQ(printed_by([&] {
                result = norvel_extend_qmi_send_sync(0, row.request, row.request_size, row.answer,
                                                     &length);
              }),
              row.printed);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(length, row.capacity);
  }
  unsigned int length = 0;
  EXPECT_EQ(norvel_extend_qmi_send_sync(0, data.data(), -1, data.data(), &length), -1);
}

TEST(extension_client, answer_is_cut_to_the_callers_room) {
  const simulated_modem modem;
  use_modem(modem.endpoint());
  const struct {
    std::size_t sent;
    unsigned int capacity;
    std::size_t copied;
  } rows[] = {{512, 512, 512}, {300, 301, 300}, {300, 299, 299}, {300, 100, 100}, {300, 0, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.capacity);
    const auto got = exchange(counting(row.sent), row.capacity);
    EXPECT_EQ(got.result, 0);
    EXPECT_EQ(got.length, row.copied);
    EXPECT_EQ(got.received, counting(row.copied) + fill(512 + 64 - row.copied, 0xEE));
  }
}

TEST(extension_client, answer_without_payload_reports_length_0) {
  const simulated_modem modem({"extension/2=truncate:14"});
  use_modem(modem.endpoint());
  const auto got = exchange(counting(300), 512);
  EXPECT_EQ(got.result, 0);
  EXPECT_EQ(got.length, 0U);
  EXPECT_EQ(got.received, fill(512 + 64, 0xEE));
}

TEST(extension_client, announced_length_beyond_the_payload_never_overruns) {
  hand_modem modem;
  use_modem(modem.endpoint());
  for (const auto* length : {"01020000", "58020000", "00000080", "ffffffff"}) {
    SCOPED_TRACE(length);
    modem.answer_with_tlvs(hex("01 0400 00000000  02 0400") + hex(length) + hex("10 0002") +
                           counting(512));
    const auto got = exchange(hex("01"), 512);
    EXPECT_EQ(got.result, 0);
    EXPECT_EQ(got.length, 512U);
    EXPECT_EQ(got.received, counting(512) + fill(64, 0xEE));
    EXPECT_EQ(exchange(hex("01"), 7).received, counting(7) + fill(512 + 64 - 7, 0xEE));
  }
}

TEST(extension_client, second_request_uses_the_same_client_and_carries_nothing_of_the_first) {
  hand_modem modem;
  use_modem(modem.endpoint());
  modem.answer_with_tlvs(hex("01 0400 00000000  02 0400 00000000"));
  EXPECT_TRUE(exchange(fill(512, 0x77), 0, 5).printed.starts_with(client_made));
  EXPECT_EQ(exchange(hex("0a0b"), 0, 0x01020304).printed,
            "norvel_extend_qmi_send_sync resp_len:0\n"
            "norvel_extend_qmi_handle_req_cb result:0\n");
  EXPECT_EQ(exchange({}, 0).result, 0);
  const auto requests = modem.requests();
  ASSERT_EQ(requests.size(), 3U);
  EXPECT_EQ(
      requests[0].data,
      hex("00 0100 0200 1102  01 0400 05000000  02 0400 00020000  10 0002") + fill(512, 0x77));
  EXPECT_EQ(
      requests[1].data,
      hex("00 0200 0200 1102  01 0400 04030201  02 0400 02000000  10 0002  0a0b") + fill(510));
  EXPECT_EQ(requests[2].data,
            hex("00 0300 0200 1102  01 0400 00000000  02 0400 00000000  10 0002") + fill(512));
}

TEST(extension_client, failed_exchange_leaves_the_callers_buffer_and_the_next_one_works) {
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

TEST(extension_client, client_that_could_not_be_made_is_tried_again) {
  use_modem("bogus");
  const auto failed = exchange(counting(20), 512);
  EXPECT_EQ(failed.result, -2);
  EXPECT_TRUE(failed.printed.ends_with("norvel_extend_qmi_handle_req_cb result:-2\n"));
  const simulated_modem modem;
  use_modem(modem.endpoint());
  EXPECT_EQ(exchange(counting(20), 512).result, 0);
}

TEST(extension_client, exchanges_of_eight_threads_do_not_mix) {
  const simulated_modem modem;
  use_modem(modem.endpoint());
  std::atomic<int> good{0};
  printed_by([&] {
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 8; ++thread) {
      threads.emplace_back([thread, &good] {
        for (unsigned i = 0; i < 50; ++i) {
          auto request = counting(20 + 50 * thread + i, 31 * thread + i);
          bytes answer(512);
          auto length = static_cast<unsigned int>(answer.size());
          const int result = norvel_extend_qmi_send_sync(
              thread % 2, request.data(), static_cast<int>(request.size()), answer.data(), &length);
          answer.resize(length);
          if (result == 0 && answer == request) ++good;
        }
      });
    }
    for (auto& each : threads) each.join();
  });
  EXPECT_EQ(good, 400);
}

TEST(extension_client, quiet_run_prints_nothing_of_it) {
  quiet_notes = 1;
  const simulated_modem modem({"extension/2@2=result:9"});
  use_modem(modem.endpoint());
  bytes data(513);
  unsigned int length = 512;
  const auto send = [&](std::size_t size) {
    norvel_extend_qmi_send_sync(0, data.data(), static_cast<int>(size), data.data(), &length);
  };
  auto known = hex("01 0400 06000000  02 0400 00000000");
  auto unknown = hex("01 0400 07000000  02 0400 00000000");
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"success", [&] { send(20); }},
      {"refused by the service", [&] { send(20); }},
      {"too long", [&] { send(513); }},
      {"no request", [&] { norvel_extend_qmi_send_sync(0, nullptr, 0, data.data(), &length); }},
      {"known indication",
       [&] { norvel_extend_qmi_ind_cb(nullptr, 3, known.data(), 14, nullptr); }},
      {"unknown indication",
       [&] { norvel_extend_qmi_ind_cb(nullptr, 3, unknown.data(), 14, nullptr); }},
  };
  for (const auto& [name, call] : rows) EXPECT_EQ(printed_by(call), "") << name;
}

/// 508 bytes that the sender must clear, and a guard that it must leave.
bytes send_common(unsigned int length, unsigned char* payload, std::string* printed) {
  auto answer = fill(508 + 64, 0xEE);
  *printed = printed_by([&] { norvel_send_common_qmi_msg(31, length, payload, answer.data()); });
  return answer;
}

TEST(common_message, payload_is_cut_at_496_bytes_and_the_answer_at_508) {
  hand_modem modem;
  use_modem(modem.endpoint());
  modem.answer_with_tlvs(hex("01 0400 00000000  02 0400 00020000  10 0002") + counting(512));
  std::string printed;
  auto payload = counting(500);
  EXPECT_EQ(send_common(4, payload.data(), &printed), counting(508) + fill(64, 0xEE));
  send_common(500, payload.data(), &printed);
  modem.answer_with_tlvs(hex("01 0400 01000000  02 0400 00000000"));
  EXPECT_EQ(send_common(0, nullptr, &printed), fill(508) + fill(64, 0xEE)) << "cleared";
  const auto sent = modem.requests();
  ASSERT_EQ(sent.size(), 3U);
  EXPECT_EQ(sent[0].data, hex("00 0100 0200 1102  01 0400 04000000  02 0400 00020000  10 0002"
                              "02000000 00000000 1f000000 04000000  01020304") +
                              fill(492));
  ASSERT_EQ(sent[1].data.size(), 536U);
  EXPECT_EQ(bytes(sent[1].data.end() - 496, sent[1].data.end()), counting(496));
}

TEST(common_message, missing_buffers_send_nothing) {
  const support::temp_dir dir;
  use_modem("unix:" + dir.file("modem.sock"));
  std::string printed;
  EXPECT_EQ(send_common(4, nullptr, &printed), fill(508) + fill(64, 0xEE));
  EXPECT_NE(printed.find("RIL[norvel_send_common_qmi_msg:#]: v is null\n"), std::string::npos);
  bytes payload(4);
  printed = printed_by([&] { norvel_send_common_qmi_msg(31, 4, payload.data(), nullptr); });
  EXPECT_NE(printed.find("RIL[norvel_send_common_qmi_msg:#]: rsp is NULL\n"), std::string::npos);
}

TEST(result_map, client_codes_become_those_of_the_nv_layer_and_others_stay) {
  const int rows[][2] = {{-1, -101}, {-2, -102}, {-3, -103}, {-4, -4}, {1, 1}, {-101, -101}};
  for (const auto& [old_result, new_result] : rows) {
    EXPECT_EQ(norvel_qmi_result_map(old_result), new_result);
  }
}

}  // namespace
