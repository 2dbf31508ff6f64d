// A program as one would write it for the phone, with nothing but the platform's headers. In QMI it
// asks the modem's SAR service for the RF state, in DIAG the diagnostic port for the modem's
// version.
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>

#include "platform/diag.h"
#include "platform/qmi_client.h"

namespace {

constexpr std::uint32_t timeout_ms = 3000;

// The service's description, as QMI's own compiler makes it: here one message of a response's
// result and an optional 32-bit number.
constexpr std::uint16_t get_rf_state = 0x0002;
struct rf_state_response {
  qmi_response_type_v01 resp;
  std::uint8_t rf_state_valid;
  std::int32_t rf_state;
};
constexpr std::uint8_t rf_state_bytes[] = {
    0x02, 0x07, offsetof(rf_state_response, resp),     0, 1, 0xC4,
    0x10, 0x02, offsetof(rf_state_response, rf_state),
};
constexpr qmi_idl_message_table_entry messages[] = {
    {0, nullptr},
    {sizeof(rf_state_response), rf_state_bytes},
};
extern const qmi_idl_type_table_object types;
const qmi_idl_type_table_object* const tables[] = {&types, &common_qmi_idl_type_table_object_v01};
const qmi_idl_type_table_object types = {.n_types = 0,
                                         .n_messages = 2,
                                         .n_referenced_tables = 1,
                                         .types = nullptr,
                                         .messages = messages,
                                         .referenced_tables = tables,
                                         .range_checkers = nullptr};
constexpr qmi_idl_service_message_table_entry request[] = {{get_rf_state, 0, 0}};
constexpr qmi_idl_service_message_table_entry response[] = {{get_rf_state, 1, 14}};
const qmi_idl_service_object sar = {.library_version = QMI_IDL_LIBRARY_VERSION,
                                    .idl_version = 1,
                                    .service_id = 0x11,
                                    .max_msg_len = 14,
                                    .n_msgs = {1, 1, 0},
                                    .msgs = {request, response, nullptr},
                                    .p_type_table = &types,
                                    .idl_minor_version = 1,
                                    .parent_service_obj = nullptr};

bool print_rf_state() {
  qmi_client_os_params signal{};
  qmi_client_type client = nullptr;
  qmi_client_error_type error = qmi_client_init_instance(&sar, QMI_CLIENT_INSTANCE_ANY, nullptr,
                                                         nullptr, &signal, timeout_ms, &client);
  rf_state_response got{};
  if (error == QMI_NO_ERR) {
    error =
        qmi_client_send_msg_sync(client, get_rf_state, nullptr, 0, &got, sizeof(got), timeout_ms);
    qmi_client_release(client);
  }
  const bool has_state = error == QMI_NO_ERR && got.resp.result == 0 && got.rf_state_valid != 0;
  if (has_state) {
    std::printf("RF state: %d\n", got.rf_state);
  } else {
    std::fprintf(stderr, "no RF state: code %d, QMI error %d\n", error, got.resp.error);
  }
  return has_state;
}

struct diag_answer {
  std::mutex mutex;
  std::condition_variable changed;
  std::string bytes;
};

int receive(unsigned char* data, int length, void* context) {
  auto& answer = *static_cast<diag_answer*>(context);
  const std::lock_guard hold(answer.mutex);
  answer.bytes.assign(data, data + length);
  answer.changed.notify_one();
  return 0;
}

bool print_version() {
  if (Diag_LSM_Init(nullptr) == 0) {
    std::fputs("no diagnostic port\n", stderr);
    return false;
  }
  diag_answer answer;
  diag_register_callback(receive, &answer);
  diag_switch_logging(DIAG_CALLBACK_MODE, nullptr);
  unsigned char version[] = {0x00};
  const int error = diag_callback_send_data(0, version, sizeof(version));
  {
    std::unique_lock hold(answer.mutex);
    answer.changed.wait_for(hold, std::chrono::milliseconds(timeout_ms),
                            [&] { return error != 0 || !answer.bytes.empty(); });
  }
  diag_switch_logging(DIAG_USB_MODE, nullptr);
  Diag_LSM_DeInit();

  // The command's number, then the date and the time at which the modem's software was compiled.
  constexpr std::size_t date = 11;
  constexpr std::size_t time = 8;
  const bool has_version = answer.bytes.size() >= 1 + date + time;
  if (has_version) {
    std::printf("modem compiled: %s %s\n", answer.bytes.substr(1, date).c_str(),
                answer.bytes.substr(1 + date, time).c_str());
  } else {
    std::fputs("no version\n", stderr);
  }
  return has_version;
}

}  // namespace

int main() {
  const bool done = print_rf_state() && print_version();
  return done ? 0 : 1;
}
