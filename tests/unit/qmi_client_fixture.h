// A small QMI service, a modem that has it, and what the library calls back.
#pragma once

#include <stdlib.h>

#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include "platform/qmi_client.h"
#include "services/service_rows.h"
#include "support/hand_modem.h"
#include "support/test.h"

namespace qmi_test {

using namespace support;

// The service: message 1 carries a u32, message 2 nothing; both are answered by the standard
// response and an optional u32. Indication 3 carries a u32.
constexpr std::uint32_t service_id = 0x11;
constexpr std::uint8_t number_layout[] = {0x81, 0x02, 0x00};
constexpr std::uint8_t answer_layout[] = {0x02, 0x07, 0x00, 0x00, 0x01, 0xC4, 0x10, 0x02, 0x0C};
struct answer {
  qmi_response_type_v01 standard;
  std::uint8_t valid;
  std::uint32_t number;
};
constexpr qmi_idl_message_table_entry messages[] = {
    {4, number_layout}, {0, nullptr}, {sizeof(answer), answer_layout}};
constexpr qmi_idl_service_message_table_entry requests[] = {{1, 0, 7}, {2, 1, 0}};
constexpr qmi_idl_service_message_table_entry responses[] = {{1, 2, 14}, {2, 2, 14}};
constexpr qmi_idl_service_message_table_entry indications[] = {{3, 0, 7}};
constexpr services::type_table type_table({}, messages);
constexpr qmi_idl_service_object service_object = services::make_object(
    service_id, 100, {.requests = requests, .responses = responses, .indications = indications},
    type_table);
constexpr auto* service = &service_object;

constexpr unsigned int forever = 0;
constexpr unsigned int long_enough = 30000;

inline qmi_server server(std::uint32_t instance = 0, std::uint32_t port = 0x201,
                         std::uint32_t version = 1) {
  return {.service = service_id, .instance_word = instance << 8 | version, .port = port};
}

inline const bytes no_error = hex("02 0400 0000 0000");

/// Answers message 1 with its own number.
inline std::vector<datagram> echo(const datagram& request) {
  return reply(request, no_error + hex("10 0400") + slice(request.data, 10));
}

/// What callbacks were given, from whichever thread.
struct callback_log {
  std::mutex mutex;
  std::vector<bytes> indications;  ///< message id, then TLVs
  std::vector<std::int32_t> errors;
  std::vector<qmi_client_notify_event_type> events;
  qmi_client_type handle;
  std::thread::id thread;

  template <typename Value>
  static void add(void* data, qmi_client_type to, std::vector<Value> callback_log::*list,
                  Value value) {
    auto& log = *static_cast<callback_log*>(data);
    const std::lock_guard lock(log.mutex);
    (log.*list).push_back(std::move(value));
    log.handle = to;
    log.thread = std::this_thread::get_id();
  }
  template <typename List>
  std::size_t count(const List& list) {
    const std::lock_guard lock(mutex);
    return list.size();
  }
};

inline void on_indication(qmi_client_type handle, unsigned int message_id, void* buffer,
                          unsigned int length, void* data) {
  EXPECT_EQ(buffer == nullptr, length == 0);
  const auto* first = static_cast<const std::uint8_t*>(buffer);
  callback_log::add(data, handle, &callback_log::indications,
                    u32(message_id) + bytes(first, first + length));
}

inline void on_error(qmi_client_type handle, qmi_client_error_type error, void* data) {
  callback_log::add(data, handle, &callback_log::errors, error);
}

inline void on_notify(qmi_client_type handle, qmi_idl_service_object_type object,
                      qmi_client_notify_event_type event, void* data) {
  EXPECT_EQ(object, service);
  callback_log::add(data, handle, &callback_log::events, event);
}

class qmi_library : public testing::Test {
 protected:
  void TearDown() override {
    for (auto* each : open_) EXPECT_EQ(qmi_client_release(each), 0);
  }

  static qmi_service_info first_server() {
    qmi_service_info info = {};
    std::uint32_t entries = 1;
    std::uint32_t services = 0;
    EXPECT_EQ(qmi_client_get_service_list(service, &info, &entries, &services), 0);
    return info;
  }

  /// Released at the end, unless by the test.
  qmi_client_type connect(qmi_client_ind_cb callback = on_indication, void* data = nullptr) {
    qmi_client_type handle = nullptr;
    if (data == nullptr) data = &log_;
    EXPECT_EQ(qmi_client_init_instance(service, QMI_CLIENT_INSTANCE_ANY, callback, data, nullptr,
                                       long_enough, &handle),
              0);
    open_.insert(handle);
    return handle;
  }

  qmi_client_type make_notifier() {
    qmi_client_type handle = nullptr;
    EXPECT_EQ(qmi_client_notifier_init(service, &signal_, &handle), 0);
    open_.insert(handle);
    return handle;
  }

  void release(qmi_client_type handle) {
    EXPECT_EQ(qmi_client_release(handle), 0);
    open_.erase(handle);
  }

  static std::int32_t send(qmi_client_type handle, std::uint32_t number,
                           unsigned int timeout_ms = long_enough, answer* got = nullptr) {
    answer unused{};
    return qmi_client_send_msg_sync(handle, 1, &number, sizeof(number), got ? got : &unused,
                                    sizeof(answer), timeout_ms);
  }

  callback_log log_;
  qmi_client_os_params signal_{};
  std::set<qmi_client_type> open_;
};

class qmi_client : public qmi_library {
 protected:
  qmi_client() { start_modem(); }

  void start_modem(std::vector<qmi_server> servers = {server()}) {
    modem_ = std::make_unique<hand_modem>(std::move(servers));
    modem_->on_request(echo);
    setenv("TVK_MODEM", modem_->endpoint().c_str(), 1);
  }

  std::unique_ptr<hand_modem> modem_;
};

}  // namespace qmi_test
