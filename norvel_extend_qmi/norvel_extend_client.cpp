// The extension client: connects once per process, then runs one exchange at a time.
#include "norvel_extend_qmi/norvel_extend_client.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "platform/mutex.h"
#include "platform/qmi_client.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "services/norvel_extend_qmi_v01.h"

namespace {

constexpr unsigned int exchange_timeout_ms = 3000;

/// Indication types below this are defined, although this program acts on none of them.
constexpr std::uint32_t known_indications = 7;

/// One per process, never released: the library's threads use it until the process ends.
struct extension_client {
  platform::mutex lock;
  const qmi_idl_service_object_type service =
      norvel_extend_qmi_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION);
  qmi_client_os_params os_params TVK_GUARDED_BY(lock){};
  qmi_client_type notifier TVK_GUARDED_BY(lock) = nullptr;
  qmi_client_type handle TVK_GUARDED_BY(lock) = nullptr;
  norvel_extend_qmi_msg_v01 request TVK_GUARDED_BY(lock){};
  norvel_extend_qmi_msg_v01 response TVK_GUARDED_BY(lock){};
};

extension_client& g_extension_client = *new extension_client;

/// Waits until the service is up; returns the number of its servers.
std::uint32_t wait_for_service(extension_client& client) TVK_REQUIRES(client.lock) {
  for (;;) {
    // Cleared before listing, so that a server that appears after the listing ends the wait.
    qmi_cci_os_signal_clear(&client.os_params);
    std::uint32_t num_services = 0;
    const auto error = qmi_client_get_service_list(client.service, nullptr, nullptr, &num_services);
    print_note("NORVEL_QMI_NV: qmi_client_get_service_list() returned %d num_services = %d\n",
               error, static_cast<int>(num_services));
    if (error == QMI_NO_ERR) return num_services;
    qmi_cci_os_signal_wait(&client.os_params, 0);
  }
}

void connect(extension_client& client) TVK_REQUIRES(client.lock) {
  if (client.notifier == nullptr &&
      qmi_client_notifier_init(client.service, &client.os_params, &client.notifier) != QMI_NO_ERR) {
    return;
  }
  std::uint32_t num_services = wait_for_service(client);
  std::uint32_t num_entries = num_services;
  std::vector<qmi_service_info> servers(num_entries);
  const auto listed =
      qmi_client_get_service_list(client.service, servers.data(), &num_entries, &num_services);
  print_note(
      "NORVEL_QMI_NV: qmi_client_get_service_list() returned %d num_entries = %d "
      "num_services = %d\n",
      listed, static_cast<int>(num_entries), static_cast<int>(num_services));
  const auto error = qmi_client_init(&servers.front(), client.service, norvel_extend_qmi_ind_cb,
                                     nullptr, nullptr, &client.handle);
  if (error != QMI_NO_ERR) {
    client.handle = nullptr;
    std::printf("%d QMI client init failed\n", error);
    return;
  }
  print_note("QMI client inited\n");
}

/// Sends the request prepared in the client and checks the answer.
int exchange(extension_client& client) TVK_REQUIRES(client.lock) {
  const auto error = qmi_client_send_msg_sync(
      client.handle, norvel_extend_qmi_request_v01, &client.request, sizeof client.request,
      &client.response, sizeof client.response, exchange_timeout_ms);
  if (error != QMI_NO_ERR) {
    print_note("send msg sync failed:%d\n", error);
    return norvel_extend_exchange_failed;
  }
  if (client.response.type != 0) {
    print_note("%d QMI service framework error. Check client\n",
               static_cast<int>(client.response.type));
    return norvel_extend_exchange_failed;
  }
  return norvel_extend_ok;
}

void copy_payload(const norvel_extend_qmi_msg_v01& response, void* rsp_data,
                  unsigned int* rsp_len) {
  *rsp_len = response.data_valid == 0 ? 0 : std::min(response.data_len, *rsp_len);
  std::memcpy(rsp_data, response.data, *rsp_len);
  print_note("norvel_extend_qmi_send_sync resp_len:%d\n", static_cast<int>(*rsp_len));
}

int send_locked(extension_client& client, unsigned int type, const unsigned char* req_data,
                unsigned int req_len, void* rsp_data, unsigned int* rsp_len)
    TVK_REQUIRES(client.lock) {
  if (client.handle == nullptr) connect(client);
  if (client.handle == nullptr) return norvel_extend_no_client;

  client.request = {.type = type, .data_len = req_len, .data_valid = 1, .data = {}};
  std::memcpy(client.request.data, req_data, req_len);
  client.response = {};
  const int result = exchange(client);
  if (result == norvel_extend_ok) copy_payload(client.response, rsp_data, rsp_len);
  return result;
}

}  // namespace

int norvel_extend_qmi_send_sync(unsigned int type, unsigned char* req_data, int req_len,
                                void* rsp_data, unsigned int* rsp_len) {
  if (req_data == nullptr || rsp_data == nullptr || rsp_len == nullptr) {
    // The line shows the low half of the pointer.
    const auto low_bits = static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(req_data));
    print_note("%x,  put Invalid param\n", low_bits);
    return norvel_extend_invalid_argument;
  }
  // Unsigned, so that a negative length counts as too long.
  const auto length = static_cast<unsigned int>(req_len);
  if (length > norvel_extend_qmi_max_data || *rsp_len > norvel_extend_qmi_max_data) {
    print_note("put data_len %d > max %d\n", req_len, static_cast<int>(norvel_extend_qmi_max_data));
    return norvel_extend_invalid_argument;
  }
  extension_client& client = g_extension_client;
  const platform::mutex_lock hold(client.lock);
  const int result = send_locked(client, type, req_data, length, rsp_data, rsp_len);
  print_note("norvel_extend_qmi_handle_req_cb result:%d\n", result);
  return result;
}

void norvel_extend_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id, void* ind_buf,
                              unsigned int ind_buf_len, void* /*ind_cb_data*/) {
  print_note("NORVEL__EXTEND_QMI: Indication msg_id=0x%x buf_len=%d \n", msg_id,
             static_cast<int>(ind_buf_len));
  norvel_extend_qmi_msg_v01 indication{};
  // If decoding fails, show what was decoded up to that point.
  static_cast<void>(qmi_client_message_decode(user_handle, QMI_IDL_INDICATION, msg_id, ind_buf,
                                              ind_buf_len, &indication, sizeof indication));
  if (indication.type < known_indications) {
    print_note("No function defined to handle indication: %d", static_cast<int>(indication.type));
  } else {
    print_note("Indicaion: %d greater than maximum known indication.",  // sic
               static_cast<int>(indication.type));
  }
  // The text does not end its line, and nothing may follow for a long time.
  std::fflush(stdout);
}
