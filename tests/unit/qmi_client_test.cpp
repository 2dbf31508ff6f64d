// Requests, answers, indications and losses of the QMI client library.
#include <atomic>
#include <string>

#include "support/eventually.h"
#include "support/limits.h"
#include "unit/qmi_client_fixture.h"

namespace qmi_test {
namespace {

constexpr std::uint32_t control_port = 0xFFFFFFFE;

TEST_F(qmi_client, sizes_that_are_not_the_tables_are_refused_unsent) {
  auto* handle = connect();
  std::uint32_t numbers[2] = {};
  answer room[2] = {};
  const auto send_sizes = [&](unsigned int request, unsigned int response) {
    return qmi_client_send_msg_sync(handle, 1, numbers, request, room, response, long_enough);
  };
  EXPECT_EQ(send_sizes(3, sizeof(answer)), -17);
  EXPECT_EQ(send_sizes(5, sizeof(answer)), -17);
  EXPECT_EQ(send_sizes(4, sizeof(answer) - 1), -17);
  EXPECT_EQ(send_sizes(4, sizeof(room)), 0);
  EXPECT_EQ(modem_->requests().size(), 1U);
}

TEST_F(qmi_client, refusal_of_the_service_is_an_answer) {
  auto* handle = connect();
  answer got{};
  modem_->answer_with_tlvs(hex("02 0400 0100 3000"));
  EXPECT_EQ(send(handle, 1, long_enough, &got), 0);
  EXPECT_EQ(got.standard.result, 1);
  EXPECT_EQ(got.standard.error, 48);
  modem_->answer_with_tlvs({});
  EXPECT_EQ(send(handle, 1), -46);
  modem_->on_request([](const datagram& request) {
    auto answers = echo(request);
    answers[0].data.at(3) = 2;  // to another message
    return answers;
  });
  EXPECT_EQ(send(handle, 1), QMI_INVALID_TXN);
}

TEST_F(qmi_client, datagram_that_is_no_answer_is_passed_over_and_the_answer_after_it_counts) {
  bytes noise(65535, 0x5A);  // no kind of message
  for (std::size_t i = 1; i < noise.size(); ++i) noise[i] = static_cast<std::uint8_t>(i * i >> 3);
  // Taken for the answer it would fail the request.
  const std::string refused = " 02 0400 0100 0100";
  const datagram rows[] = {
      {0, 0x201, noise},
      {0, 0x201, {}},
      {0, 0x201, hex("02 0200 0100 00")},
      {0, 0x201, hex("02 0200 0100 0800" + refused)},  // length above the rest
      {0, 0x201, hex("02 0200 0100 0600" + refused)},  // and below it
      {0, 0x201, hex("02 0100 0100 0700" + refused)},  // of the request before
      {0, 0x201, hex("02 0000 0100 0700" + refused)},
      {0, 0x201, hex("00 0200 0100 0700" + refused)},  // a request
      {0, 0x201, hex("03 0200 0100 0700" + refused)},
      {0, 0x202, hex("02 0200 0100 0700" + refused)},  // another port's, and node's
      {1, 0x201, hex("02 0200 0100 0700" + refused)},
      {0, 0x201, hex("02 0200 0100 6e00" + refused + " 20 6400 00*100")},  // too long
      // This server has gone, cut short and from no control port; others have gone.
      {1, control_port, hex("05000000 11000000 01000000 00000000 010200")},
      {0, 0x201, hex("05000000 11000000 01000000 00000000 01020000")},
      {1, control_port, hex("05000000 11000000 01000000 00000000 02020000")},
      {1, control_port, hex("05000000 12000000 01000000 00000000 01020000")},
      {1, control_port, hex("63000000 11000000 00*12")},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    modem_->on_request({});
    auto* handle = connect();
    EXPECT_EQ(send(handle, 1, 1), -3);
    modem_->on_request([&row](const datagram& request) {
      return std::vector<datagram>{row, echo(request)[0]};
    });
    answer got{};
    EXPECT_EQ(send(handle, 42, long_enough, &got), 0);
    EXPECT_EQ(got.standard.result, 0);
    EXPECT_EQ(got.number, 42U);
  }
}

TEST_F(qmi_client, pending_request_ends_with_its_server_its_connection_or_its_client) {
  for (const std::string what : {"client", "server", "connection"}) {
    for (const unsigned int timeout_ms : {60000U, forever}) {
      SCOPED_TRACE(what);
      const bool is_client = what == "client";
      start_modem();
      auto* handle = connect();
      ASSERT_EQ(qmi_client_register_error_cb(handle, on_error, &log_), 0);
      // The modem's thread may still be there when the request has ended.
      modem_->on_request([=, this](const datagram&) {
        if (what == "server") modem_->withdraw(server());
        if (what == "connection") modem_->close_connections();
        if (is_client) release(handle);
        return std::vector<datagram>{};
      });
      EXPECT_EQ(send(handle, 1, timeout_ms), is_client ? -18 : -2);
      EXPECT_EQ(send(handle, 1, timeout_ms), is_client ? -18 : -2);
      EXPECT_EQ(modem_->requests().size(), 1U);
      if (!is_client) {
        EXPECT_TRUE(eventually([&] { return log_.count(log_.errors) == 1; }));
        release(handle);
      }
      EXPECT_EQ(qmi_client_release(handle), -18);
      EXPECT_EQ(log_.errors, std::vector<std::int32_t>(is_client ? 0 : 1, -2));
      log_.errors.clear();
    }
  }
}

TEST_F(qmi_client, error_callback_runs_once_when_the_server_or_the_idle_connection_goes) {
  for (const bool is_connection : {false, true}) {
    SCOPED_TRACE(is_connection);
    start_modem({server(0, 0x201), server(1, 0x202)});
    auto* handle = connect();
    EXPECT_EQ(qmi_client_register_error_cb(handle, on_error, &log_), 0);
    modem_->withdraw(server(1, 0x202));
    EXPECT_EQ(send(handle, 1), 0);  // answered after it
    EXPECT_EQ(log_.count(log_.errors), 0U) << "another server went";
    if (!is_connection) modem_->withdraw(server(0, 0x201));
    if (is_connection) modem_->close_connections();
    ASSERT_TRUE(eventually([&] { return log_.count(log_.errors) == 1; }));
    modem_->close_connections();
    EXPECT_EQ(send(handle, 1), -2);
    EXPECT_NE(log_.thread, std::this_thread::get_id());
    // Registered after the loss it runs at once.
    EXPECT_EQ(qmi_client_register_error_cb(handle, on_error, &log_), -2);
    EXPECT_EQ(log_.thread, std::this_thread::get_id());
    release(handle);  // its thread is over
    EXPECT_EQ(log_.errors, (std::vector{-2, -2}));
    log_.errors.clear();
  }
}

TEST_F(qmi_client, indications_come_on_another_thread_in_order_and_may_be_empty) {
  auto* handle = connect();
  auto* deaf = connect(nullptr);
  EXPECT_EQ(send(handle, 1) + send(deaf, 1), 0);  // now the modem knows the clients
  modem_->send({0, 0x201, hex("04 0000 0300 0700  01 0400 78563412")});
  modem_->send({0, 0x201, hex("04 0100 0300 0000")});
  modem_->send({0, 0x201, hex("04 ffff cdab 0300  10 0000")});
  ASSERT_TRUE(eventually([&] { return log_.count(log_.indications) == 3; }));
  EXPECT_EQ(send(deaf, 1), 0);
  EXPECT_NE(log_.thread, std::this_thread::get_id());
  EXPECT_EQ(log_.handle, handle);
  EXPECT_EQ(log_.indications, (std::vector<bytes>{hex("03000000 01 0400 78563412"), hex("03000000"),
                                                  hex("cdab0000 10 0000")}));
  std::uint32_t number = 0;
  const bytes tlvs = hex("01 0400 78563412");
  for (const auto& [size, result] : {std::pair{4U, 0}, {3U, -41}}) {
    EXPECT_EQ(
        qmi_client_message_decode(handle, QMI_IDL_INDICATION, 3, tlvs.data(), 7, &number, size),
        result);
  }
  EXPECT_EQ(number, 0x12345678U);
}

/// Sends two indications, the second of message 4, ahead of the answer to number 1.
std::vector<datagram> indications_before_1(const datagram& request) {
  auto all = echo(request);
  if (request.data.at(10) == 1) {
    for (const auto* each : {"04 0200 0400 0000", "04 0100 0300 0000"}) {
      all.insert(all.begin(), {request.node, request.port, hex(each)});
    }
  }
  return all;
}

TEST_F(qmi_client, indications_that_come_before_an_answer_are_delivered_before_it) {
  modem_->on_request(indications_before_1);
  auto* handle = connect();
  for (std::size_t round = 1; round <= 100; ++round) {
    ASSERT_EQ(send(handle, 1), 0);
    ASSERT_EQ(log_.count(log_.indications), 2 * round);
    ASSERT_EQ(log_.indications.back(), hex("04000000"));
  }
}

TEST_F(qmi_client, callback_may_send_requests_and_release_its_handle) {
  struct outcome {
    std::atomic<int> sent{99}, released{99};
  };
  const auto ask_and_release = [](qmi_client_type handle, unsigned int, void*, unsigned int,
                                  void* data) {
    auto& got = *static_cast<outcome*>(data);
    got.sent = send(handle, 2, forever);
    got.released = qmi_client_release(handle);
  };
  modem_->on_request(indications_before_1);
  for (const bool during_request : {false, true}) {
    SCOPED_TRACE(during_request);
    outcome got;
    auto* handle = connect(ask_and_release, &got);
    open_.erase(handle);
    EXPECT_EQ(send(handle, during_request ? 1 : 3), 0);
    if (!during_request) modem_->send({0, 0x201, hex("04 0100 0300 0000")});
    ASSERT_TRUE(eventually([&] { return got.released != 99; }));
    EXPECT_EQ(got.sent, 0);
    EXPECT_EQ(got.released, 0);
    EXPECT_EQ(send(handle, 1), -18);
  }
}

TEST_F(qmi_client, host_without_a_thread_is_an_error_and_named) {
  auto info = first_server();
  no_more_threads();
  qmi_client_type handle = nullptr;
  testing::internal::CaptureStderr();
  EXPECT_EQ(qmi_client_notifier_init(service, &signal_, &handle), -1);
  EXPECT_EQ(qmi_client_init(&info, service, on_indication, &log_, nullptr, &handle), -1);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "tvk: cannot start a thread: Resource temporarily unavailable\n");
}

TEST_F(qmi_client, requests_of_several_threads_on_one_handle_each_get_their_answer) {
  auto* handle = connect();
  std::atomic<int> good{0};
  std::vector<std::thread> threads;
  for (std::uint32_t thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::uint32_t i = 0; i < 25; ++i) {
        answer got{};
        const auto number = thread << 16 | i;
        if (send(handle, number, long_enough, &got) == 0 && got.number == number) ++good;
      }
    });
  }
  for (auto& each : threads) each.join();
  EXPECT_EQ(good, 200);
  std::set<bytes> transactions;
  for (const auto& each : modem_->requests()) transactions.insert(slice(each.data, 1, 3));
  EXPECT_EQ(transactions.size(), 200U);
}

TEST_F(qmi_client, transactions_skip_0_when_they_wrap) {
  modem_->answer_with_tlvs(no_error);
  auto* handle = connect();
  answer got{};
  for (int i = 0; i < 65537; ++i) {
    ASSERT_EQ(qmi_client_send_msg_sync(handle, 2, nullptr, 0, &got, sizeof(got), long_enough), 0);
  }
  const auto sent = modem_->requests();
  ASSERT_EQ(sent.size(), 65537U);
  EXPECT_EQ(sent[65534].data, hex("00 ffff 0200 0000"));
  EXPECT_EQ(sent[65535].data, hex("00 0100 0200 0000"));
  EXPECT_EQ(sent[65536].data, hex("00 0200 0200 0000"));
}

}  // namespace
}  // namespace qmi_test
