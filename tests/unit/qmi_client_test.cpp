// The QMI client library's functions against a modem of hand-written bytes.
#include "platform/qmi_client.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "support/bytes.h"
#include "support/eventually.h"
#include "support/hand_modem.h"
#include "support/no_more_threads.h"
#include "support/printed.h"

namespace {

using std::chrono::milliseconds;
using support::bytes;
using support::datagram;
using support::eventually;
using support::hand_modem;
using support::hex;
using support::qmi_server;
using support::operator+;
using steady = std::chrono::steady_clock;

// A small service: message 1 carries a u32, message 2 nothing; both are answered by the standard
// response and an optional u32. Indication 3 carries a u32.
constexpr std::uint32_t service_id = 0x11;
constexpr std::uint8_t number_layout[] = {0x81, 0x02, 0x00};
constexpr std::uint8_t answer_layout[] = {0x02, 0x07, 0x00, 0x00, 0x01, 0xC4, 0x10, 0x02, 0x0C};
struct answer {
  qmi_response_type_v01 standard;
  std::uint8_t valid;
  std::uint32_t number;
};
static_assert(sizeof(answer) == 16);
constexpr qmi_idl_message_table_entry messages[] = {
    {4, number_layout}, {0, nullptr}, {sizeof(answer), answer_layout}};
extern const qmi_idl_type_table_object type_table;
const qmi_idl_type_table_object* const tables[] = {&type_table,
                                                   &common_qmi_idl_type_table_object_v01};
const qmi_idl_type_table_object type_table = {0, 3, 1, nullptr, messages, tables, nullptr};
constexpr qmi_idl_service_message_table_entry requests[] = {{1, 0, 7}, {2, 1, 0}};
constexpr qmi_idl_service_message_table_entry responses[] = {{1, 2, 14}, {2, 2, 14}};
constexpr qmi_idl_service_message_table_entry indications[] = {{3, 0, 7}};
const qmi_idl_service_object service_object = {
    6, 1, service_id, 100, {2, 2, 1}, {requests, responses, indications}, &type_table, 0, nullptr};
const auto service = &service_object;

qmi_server server(std::uint32_t instance = 0, std::uint32_t port = 0x201,
                  std::uint32_t version = 1) {
  return {.service = service_id, .instance_word = instance << 8 | version, .port = port};
}

const bytes no_error = hex("02 0400 0000 0000");

/// Answers message 1 with its own number.
std::vector<datagram> echo(const datagram& request) {
  const bytes number(request.data.begin() + 10, request.data.end());
  return {{request.node, request.port,
           support::qmi_response(request.data, no_error + hex("10 0400") + number)}};
}

std::vector<datagram> silence(const datagram&) {
  return {};
}

/// What callbacks were given, from whichever thread.
struct callback_log {
  struct indication {
    qmi_client_type handle;
    unsigned int message_id;
    bool null;
    bytes tlvs;
  };
  std::mutex mutex;
  std::vector<indication> indications;
  std::vector<std::int32_t> errors;
  std::vector<qmi_client_notify_event_type> events;
  std::thread::id thread;

  template <typename List>
  std::size_t count(const List& list) {
    const std::lock_guard lock(mutex);
    return list.size();
  }
};

void on_indication(qmi_client_type handle, unsigned int message_id, void* buffer,
                   unsigned int length, void* data) {
  auto& log = *static_cast<callback_log*>(data);
  const std::lock_guard lock(log.mutex);
  const auto* first = static_cast<const std::uint8_t*>(buffer);
  log.indications.push_back({handle, message_id, buffer == nullptr,
                             buffer == nullptr ? bytes() : bytes(first, first + length)});
  log.thread = std::this_thread::get_id();
}

void on_error(qmi_client_type, qmi_client_error_type error, void* data) {
  auto& log = *static_cast<callback_log*>(data);
  const std::lock_guard lock(log.mutex);
  log.errors.push_back(error);
  log.thread = std::this_thread::get_id();
}

void on_notify(qmi_client_type, qmi_idl_service_object_type object,
               qmi_client_notify_event_type event, void* data) {
  auto& log = *static_cast<callback_log*>(data);
  const std::lock_guard lock(log.mutex);
  EXPECT_EQ(object, service);
  log.events.push_back(event);
  log.thread = std::this_thread::get_id();
}

class qmi_client : public testing::Test {
 protected:
  void start_modem(std::vector<qmi_server> servers = {server()}) {
    modem_ = std::make_unique<hand_modem>(std::move(servers));
    modem_->on_request(echo);
    setenv("TVK_MODEM", modem_->endpoint().c_str(), 1);
  }

  qmi_client_type connect(qmi_client_ind_cb callback = on_indication, void* data = nullptr) {
    qmi_service_info info[1] = {};
    std::uint32_t entries = 1;
    std::uint32_t services = 0;
    EXPECT_EQ(qmi_client_get_service_list(service, info, &entries, &services), 0);
    qmi_client_type handle = nullptr;
    EXPECT_EQ(
        qmi_client_init(info, service, callback, data == nullptr ? &log_ : data, nullptr, &handle),
        0);
    EXPECT_NE(handle, nullptr);
    return handle;
  }

  static std::int32_t send(qmi_client_type handle, std::uint32_t number, unsigned int timeout_ms,
                           answer* got = nullptr) {
    answer unused{};
    return qmi_client_send_msg_sync(handle, 1, &number, sizeof(number), got ? got : &unused,
                                    sizeof(answer), timeout_ms);
  }

  callback_log log_;
  std::unique_ptr<hand_modem> modem_;
};

TEST_F(qmi_client, notifier_is_signalled_when_a_server_of_its_version_is_there_comes_and_goes) {
  start_modem();
  qmi_client_os_params signal{};
  qmi_client_type notifier = nullptr;
  ASSERT_EQ(qmi_client_notifier_init(service, &signal, &notifier), 0);
  const auto signalled_within = [&](unsigned int timeout_ms) {
    qmi_cci_os_signal_wait(&signal, timeout_ms);
    const bool signalled = signal.timed_out == 0;
    EXPECT_EQ(signal.sig_set != 0, signalled);
    qmi_cci_os_signal_clear(&signal);
    return signalled;
  };
  constexpr unsigned int forever = 0;
  EXPECT_TRUE(signalled_within(forever));
  const auto start = steady::now();
  EXPECT_FALSE(signalled_within(50));
  EXPECT_GE(steady::now() - start, milliseconds(50));
  modem_->publish(server(5, 0x204));
  EXPECT_TRUE(signalled_within(30000));
  modem_->withdraw(server(5, 0x204));
  EXPECT_TRUE(signalled_within(forever));
  EXPECT_EQ(qmi_client_release(notifier), 0);
}

TEST_F(qmi_client, notify_callback_tells_the_servers_known_and_those_to_come) {
  start_modem();
  qmi_client_os_params signal{};
  qmi_client_type notifier = nullptr;
  ASSERT_EQ(qmi_client_notifier_init(service, &signal, &notifier), 0);
  ASSERT_EQ(qmi_client_register_notify_cb(notifier, on_notify, &log_), 0);
  ASSERT_EQ(log_.events.size(), 1U);  // inside the call
  EXPECT_EQ(log_.events[0], QMI_CLIENT_SERVICE_COUNT_INC);
  EXPECT_EQ(log_.thread, std::this_thread::get_id());
  modem_->publish(server(0, 0x202, 2));  // of another version, and another service
  modem_->publish({.service = 0x12, .instance_word = 1, .port = 0x203});
  modem_->withdraw(server());
  ASSERT_TRUE(eventually([&] { return log_.count(log_.events) == 2; }));
  modem_->publish(server());
  ASSERT_TRUE(eventually([&] { return log_.count(log_.events) == 3; }));
  EXPECT_EQ(qmi_client_release(notifier), 0);
  EXPECT_EQ(log_.events[1], QMI_CLIENT_SERVICE_COUNT_DEC);
  EXPECT_EQ(log_.events[2], QMI_CLIENT_SERVICE_COUNT_INC);
  EXPECT_NE(log_.thread, std::this_thread::get_id());
  callback_log others;
  ASSERT_EQ(qmi_client_notifier_init(service, &signal, &notifier), 0);
  ASSERT_EQ(qmi_client_register_notify_cb(notifier, on_notify, &others), 0);
  modem_->withdraw(server());
  ASSERT_TRUE(eventually([&] { return others.count(others.events) == 2; }));
  EXPECT_EQ(log_.count(log_.events), 3U) << "called after the release";
  EXPECT_EQ(qmi_client_release(notifier), 0);
}

TEST_F(qmi_client, service_list_fills_no_more_than_its_room) {
  start_modem({server(0, 0x201),
               server(1, 0x202),
               server(2, 0x203, 2),
               {.service = 0x12, .instance_word = 1, .port = 0x204}});
  std::uint32_t services = 77;
  for (const std::uint32_t room : {0U, 2U, 3U, 5U}) {
    SCOPED_TRACE(room);
    constexpr qmi_service_info untouched = {{7, 7, 7, 7, 7}};
    std::vector<qmi_service_info> info(8, untouched);
    std::uint32_t entries = room;
    EXPECT_EQ(qmi_client_get_service_list(service, info.data(), &entries, &services), 0);
    EXPECT_EQ(entries, std::min(room, 3U));
    EXPECT_EQ(services, 3U);
    for (std::size_t i = entries; i < info.size(); ++i) {
      EXPECT_TRUE(std::equal(info[i].info, info[i].info + 5, untouched.info)) << i;
    }
  }
  std::uint32_t entries = 5;
  EXPECT_EQ(qmi_client_get_service_list(service, nullptr, &entries, &services), 0);
  EXPECT_EQ(entries, 0U);
  EXPECT_EQ(qmi_client_get_service_list(service, nullptr, nullptr, nullptr), -17);
  for (const auto& each : {server(0, 0x201), server(1, 0x202), server(2, 0x203, 2)}) {
    modem_->withdraw(each);
  }
  ASSERT_TRUE(eventually(
      [&] { return qmi_client_get_service_list(service, nullptr, nullptr, &services) == -2; }));
  EXPECT_EQ(services, 0U);
}

TEST_F(qmi_client, init_with_a_server_that_has_gone_is_a_service_error) {
  start_modem({server(0, 0x201), server(1, 0x202)});
  qmi_service_info info[2] = {};
  std::uint32_t entries = 2;
  std::uint32_t services = 0;
  ASSERT_EQ(qmi_client_get_service_list(service, info, &entries, &services), 0);
  modem_->withdraw(server(0, 0x201));
  qmi_client_type handle = nullptr;
  testing::internal::CaptureStderr();
  EXPECT_EQ(qmi_client_init(&info[0], service, on_indication, nullptr, nullptr, &handle), -2);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "tvk: QMI service 0x11 has gone from " + modem_->endpoint() + "\n");
  EXPECT_EQ(qmi_client_init(&info[1], service, on_indication, nullptr, nullptr, &handle), 0);
  EXPECT_EQ(send(handle, 1, 30000), 0);
  EXPECT_EQ(modem_->requests().at(0).port, 0x202U);
  EXPECT_EQ(qmi_client_release(handle), 0);
}

TEST_F(qmi_client, init_instance_takes_the_server_of_that_instance_and_waits_for_it) {
  start_modem({server(1, 0x201), server(3, 0x203)});
  qmi_client_os_params signal{};
  qmi_client_type handle = nullptr;
  const auto init = [&](std::uint32_t instance, unsigned int timeout_ms) {
    return qmi_client_init_instance(service, instance, on_indication, nullptr, &signal, timeout_ms,
                                    &handle);
  };
  for (const std::uint32_t instance : {3U, 1U, QMI_CLIENT_INSTANCE_ANY}) {
    ASSERT_EQ(init(instance, 30000), 0);
    EXPECT_EQ(send(handle, 1, 30000), 0);
    if (instance != QMI_CLIENT_INSTANCE_ANY) {
      EXPECT_EQ(modem_->requests().back().port, 0x200 + instance);
    }
    EXPECT_EQ(qmi_client_release(handle), 0);
  }
  const auto start = steady::now();
  EXPECT_EQ(init(2, 50), -3);
  EXPECT_GE(steady::now() - start, milliseconds(50));

  testing::internal::CaptureStderr();
  std::thread later([&] {
    support::wait_until_captured(STDERR_FILENO, "for up to 30000 ms");
    modem_->publish(server(2, 0x202));
  });
  EXPECT_EQ(init(2, 30000), 0);
  later.join();
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(qmi_client_release(handle), 0);
  EXPECT_EQ(qmi_client_init_instance(service, 2, on_indication, nullptr, &signal, 50, nullptr),
            -17);
  EXPECT_EQ(qmi_client_init_instance(nullptr, 2, on_indication, nullptr, &signal, 50, &handle),
            -17);
}

TEST_F(qmi_client, handle_that_is_none_is_refused) {
  start_modem();
  auto* released = connect();
  ASSERT_EQ(qmi_client_release(released), 0);
  int no_handle = 0;
  for (qmi_client_type handle : {qmi_client_type{nullptr}, qmi_client_type{&no_handle}, released}) {
    std::uint32_t number = 0;
    const auto tlvs = hex("01 0400 00000000");
    EXPECT_EQ(qmi_client_release(handle), -18);
    EXPECT_EQ(send(handle, 1, 30000), -18);
    EXPECT_EQ(qmi_client_register_error_cb(handle, on_error, &log_), -18);
    EXPECT_EQ(qmi_client_register_notify_cb(handle, on_notify, &log_), -18);
    EXPECT_EQ(qmi_client_message_decode(handle, QMI_IDL_INDICATION, 3, tlvs.data(), 7, &number, 4),
              -18);
  }
  auto* client = connect();
  EXPECT_EQ(qmi_client_register_notify_cb(client, on_notify, &log_), -18);
  EXPECT_EQ(qmi_client_release(client), 0);
  qmi_client_os_params signal{};
  qmi_client_type notifier = nullptr;
  ASSERT_EQ(qmi_client_notifier_init(service, &signal, &notifier), 0);
  EXPECT_EQ(qmi_client_register_error_cb(notifier, on_error, &log_), -18);
  EXPECT_EQ(qmi_client_release(notifier), 0);
  EXPECT_TRUE(log_.errors.empty());
}

TEST_F(qmi_client, sizes_that_are_not_the_tables_are_refused_unsent) {
  start_modem();
  auto* handle = connect();
  std::uint32_t number[2] = {};
  answer got[2] = {};
  const struct {
    void* request;
    unsigned int request_size;
    void* response;
    unsigned int response_size;
  } rows[] = {
      {number, 3, got, sizeof(answer)},     {number, 5, got, sizeof(answer)},
      {nullptr, 4, got, sizeof(answer)},    {number, 4, nullptr, sizeof(answer)},
      {number, 4, got, sizeof(answer) - 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows));
    EXPECT_EQ(qmi_client_send_msg_sync(handle, 1, row.request, row.request_size, row.response,
                                       row.response_size, 30000),
              -17);
  }
  EXPECT_TRUE(modem_->requests().empty());
  EXPECT_EQ(qmi_client_send_msg_sync(handle, 1, number, 4, got, sizeof(got), 30000), 0);
  EXPECT_EQ(qmi_client_release(handle), 0);
}

TEST_F(qmi_client, refusal_of_the_service_is_an_answer) {
  start_modem();
  auto* handle = connect();
  answer got{};
  modem_->answer_with_tlvs(hex("02 0400 0100 3000"));
  EXPECT_EQ(send(handle, 1, 30000, &got), 0);
  EXPECT_EQ(got.standard.result, 1);
  EXPECT_EQ(got.standard.error, 48);
  EXPECT_EQ(got.valid, 0);
  modem_->answer_with_tlvs({});
  EXPECT_EQ(send(handle, 1, 30000), -46);
  EXPECT_EQ(qmi_client_release(handle), 0);
}

TEST_F(qmi_client, request_without_answer_times_out_and_its_late_answer_is_not_the_nexts) {
  start_modem();
  auto* handle = connect();
  modem_->on_request(silence);
  const auto start = steady::now();
  EXPECT_EQ(send(handle, 1, 50), -3);
  EXPECT_GE(steady::now() - start, milliseconds(50));
  modem_->on_request([](const datagram& request) {
    const auto late = hex("02 0100 0100 0e00") + no_error + hex("10 0400 ffffffff");
    return std::vector<datagram>{{request.node, request.port, late}, echo(request)[0]};
  });
  answer got{};
  EXPECT_EQ(send(handle, 42, 30000, &got), 0);
  EXPECT_EQ(got.number, 42U);
  EXPECT_EQ(qmi_client_release(handle), 0);
}

TEST_F(qmi_client, pending_request_ends_when_the_server_or_the_connection_goes) {
  for (const bool connection : {false, true}) {
    for (const unsigned int timeout_ms : {60000U, 0U}) {
      SCOPED_TRACE(connection ? "connection" : "server");
      start_modem();
      auto* handle = connect();
      modem_->on_request([connection, &modem = *modem_](const datagram&) {
        if (connection) {
          modem.close_connections();
        } else {
          modem.withdraw(server());
        }
        return std::vector<datagram>{};
      });
      EXPECT_EQ(send(handle, 1, timeout_ms), -2);
      EXPECT_EQ(send(handle, 1, timeout_ms), -2);
      EXPECT_EQ(qmi_client_release(handle), 0);
      EXPECT_EQ(qmi_client_release(handle), -18);
    }
  }
}

TEST_F(qmi_client, error_callback_runs_once_when_the_server_goes) {
  start_modem({server(0, 0x201), server(1, 0x202)});
  auto* handle = connect();
  EXPECT_EQ(qmi_client_register_error_cb(handle, on_error, &log_), 0);
  modem_->withdraw(server(1, 0x202));
  EXPECT_EQ(send(handle, 1, 30000), 0);  // answered after it
  EXPECT_EQ(log_.count(log_.errors), 0U) << "another server went";
  modem_->withdraw(server(0, 0x201));
  ASSERT_TRUE(eventually([&] { return log_.count(log_.errors) == 1; }));
  modem_->close_connections();
  EXPECT_EQ(send(handle, 1, 30000), -2);
  EXPECT_EQ(log_.errors[0], -2);
  EXPECT_NE(log_.thread, std::this_thread::get_id());
  // Registered behind the loss it runs at once.
  EXPECT_EQ(qmi_client_register_error_cb(handle, on_error, &log_), -2);
  ASSERT_EQ(log_.errors.size(), 2U);
  EXPECT_EQ(log_.errors[1], -2);
  EXPECT_EQ(log_.thread, std::this_thread::get_id());
  EXPECT_EQ(qmi_client_release(handle), 0);  // its thread is over
  EXPECT_EQ(log_.errors.size(), 2U);
}

TEST_F(qmi_client, indications_come_on_another_thread_in_order_and_may_be_empty) {
  start_modem();
  auto* handle = connect();
  EXPECT_EQ(send(handle, 1, 30000), 0);  // now the modem knows the client
  modem_->send({0, 0x201, hex("04 0000 0300 0700  01 0400 78563412")});
  modem_->send({0, 0x201, hex("04 0100 0300 0000")});
  modem_->send({0, 0x201, hex("04 ffff cdab 0300  10 0000")});
  ASSERT_TRUE(eventually([&] { return log_.count(log_.indications) == 3; }));
  EXPECT_NE(log_.thread, std::this_thread::get_id());
  for (const auto& each : log_.indications) EXPECT_EQ(each.handle, handle);
  EXPECT_EQ(log_.indications[0].message_id, 3U);
  EXPECT_EQ(log_.indications[0].tlvs, hex("01 0400 78563412"));
  EXPECT_EQ(log_.indications[1].message_id, 3U);
  EXPECT_TRUE(log_.indications[1].null);
  EXPECT_EQ(log_.indications[2].message_id, 0xABCDU);
  EXPECT_EQ(log_.indications[2].tlvs, hex("10 0000"));

  std::uint32_t number = 0;
  const auto& tlvs = log_.indications[0].tlvs;
  const auto decode = [&](unsigned int message_id, const bytes& from, unsigned int size) {
    return qmi_client_message_decode(handle, QMI_IDL_INDICATION, message_id, from.data(),
                                     static_cast<unsigned int>(from.size()), &number, size);
  };
  EXPECT_EQ(decode(3, tlvs, 4), 0);
  EXPECT_EQ(number, 0x12345678U);
  EXPECT_EQ(decode(3, tlvs, 3), -41);
  EXPECT_EQ(decode(4, tlvs, 4), -43);
  EXPECT_EQ(decode(3, {}, 4), -46);
  EXPECT_EQ(qmi_client_release(handle), 0);
}

/// Sends message 1 with `before` ahead of its answer, when that answers `number`.
void tell_before_answer_to(std::uint8_t number, const std::vector<bytes>& before,
                           hand_modem& modem) {
  modem.on_request([=](const datagram& request) {
    std::vector<datagram> all;
    if (request.data.at(10) == number) {
      for (const auto& each : before) all.push_back({request.node, request.port, each});
    }
    all.push_back(echo(request)[0]);
    return all;
  });
}

TEST_F(qmi_client, indications_that_come_before_an_answer_are_told_before_it) {
  start_modem();
  tell_before_answer_to(1, {hex("04 0100 0300 0000"), hex("04 0200 0400 0000")}, *modem_);
  auto* handle = connect();
  for (std::size_t round = 1; round <= 100; ++round) {
    ASSERT_EQ(send(handle, 1, 30000), 0);
    ASSERT_EQ(log_.count(log_.indications), 2 * round);
    ASSERT_EQ(log_.indications.back().message_id, 4U);
  }
  EXPECT_EQ(qmi_client_release(handle), 0);
}

TEST_F(qmi_client, callback_may_send_requests_and_release_its_handle) {
  struct outcome {
    std::atomic<int> sent{99};
    std::atomic<int> released{99};
  };
  const auto ask_and_release = [](qmi_client_type handle, unsigned int, void*, unsigned int,
                                  void* data) {
    auto& got = *static_cast<outcome*>(data);
    got.sent = send(handle, 2, 30000);
    got.released = qmi_client_release(handle);
  };
  start_modem();
  const auto indication = hex("04 0100 0300 0000");
  tell_before_answer_to(1, {indication, indication}, *modem_);
  for (const bool during_request : {false, true}) {
    SCOPED_TRACE(during_request);
    outcome got;
    auto* handle = connect(ask_and_release, &got);
    EXPECT_EQ(send(handle, during_request ? 1 : 3, 30000), 0);
    if (!during_request) modem_->send({0, 0x201, indication});
    ASSERT_TRUE(eventually([&] { return got.released != 99; }));
    EXPECT_EQ(got.sent, 0);
    EXPECT_EQ(got.released, 0);
    EXPECT_EQ(send(handle, 1, 30000), -18);
  }
  qmi_client_os_params signal{};
  qmi_client_type notifier = nullptr;
  std::atomic<int> released = 99;
  ASSERT_EQ(qmi_client_notifier_init(service, &signal, &notifier), 0);
  const auto release = [](qmi_client_type handle, qmi_idl_service_object_type,
                          qmi_client_notify_event_type event, void* data) {
    if (event != QMI_CLIENT_SERVICE_COUNT_DEC) return;
    *static_cast<std::atomic<int>*>(data) = qmi_client_release(handle);
  };
  ASSERT_EQ(qmi_client_register_notify_cb(notifier, release, &released), 0);
  modem_->withdraw(server());
  EXPECT_TRUE(eventually([&] { return released == 0; }));
}

TEST_F(qmi_client, host_without_a_thread_is_an_error_and_named) {
  start_modem();
  qmi_service_info info[1] = {};
  std::uint32_t entries = 1;
  std::uint32_t services = 0;
  ASSERT_EQ(qmi_client_get_service_list(service, info, &entries, &services), 0);
  support::no_more_threads();
  qmi_client_os_params signal{};
  qmi_client_type handle = nullptr;
  testing::internal::CaptureStderr();
  EXPECT_EQ(qmi_client_notifier_init(service, &signal, &handle), -1);
  EXPECT_EQ(qmi_client_init(info, service, on_indication, &log_, nullptr, &handle), -1);
  EXPECT_EQ(qmi_client_init_instance(service, QMI_CLIENT_INSTANCE_ANY, on_indication, &log_,
                                     &signal, 1000, &handle),
            -1);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "tvk: cannot start a thread: Resource temporarily unavailable\n");
}

TEST_F(qmi_client, requests_of_several_threads_on_one_handle_each_get_their_answer) {
  start_modem();
  auto* handle = connect();
  std::atomic<int> good{0};
  std::vector<std::thread> threads;
  for (std::uint32_t thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::uint32_t i = 0; i < 25; ++i) {
        answer got{};
        const auto number = thread << 16 | i;
        if (send(handle, number, 30000, &got) == 0 && got.number == number) ++good;
      }
    });
  }
  for (auto& each : threads) each.join();
  EXPECT_EQ(good, 200);
  std::set<int> transactions;
  for (const auto& each : modem_->requests()) {
    transactions.insert(each.data.at(1) | each.data.at(2) << 8);
  }
  EXPECT_EQ(transactions.size(), 200U);
  EXPECT_EQ(*transactions.begin(), 1);
  EXPECT_EQ(*transactions.rbegin(), 200);
  EXPECT_EQ(qmi_client_release(handle), 0);
}

TEST_F(qmi_client, transactions_skip_0_when_they_wrap) {
  start_modem();
  modem_->answer_with_tlvs(no_error);
  auto* handle = connect();
  answer got{};
  int good = 0;
  for (int i = 0; i < 65537; ++i) {
    if (qmi_client_send_msg_sync(handle, 2, nullptr, 0, &got, sizeof(got), 30000) == 0) ++good;
  }
  EXPECT_EQ(good, 65537);
  const auto sent = modem_->requests();
  ASSERT_EQ(sent.size(), 65537U);
  EXPECT_EQ(sent[65534].data, hex("00 ffff 0200 0000"));
  EXPECT_EQ(sent[65535].data, hex("00 0100 0200 0000"));
  EXPECT_EQ(sent[65536].data, hex("00 0200 0200 0000"));
  EXPECT_EQ(qmi_client_release(handle), 0);
}

}  // namespace
