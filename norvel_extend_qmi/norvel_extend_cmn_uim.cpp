#include "norvel_extend_qmi/norvel_extend_cmn_uim.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>

#include "platform/qmi_client.h"
#include "qcril-common/utilities/norvel_ril_log.h"
#include "qcril-common/utilities/qcril_memory_management.h"
#include "services/uim_v01.h"

namespace {

constexpr unsigned int open_timeout_ms = 4000;
constexpr unsigned int request_timeout_ms = 3000;
constexpr int max_failures = 3;

constexpr int failed = -1;

/// One per process. The library's threads may set the flag until the process ends.
struct uim_client {
  qmi_client_type handle = nullptr;
  qmi_client_os_params os_params{};  ///< used by the library as long as there is a handle
  std::atomic<bool> ssr_detected = false;
  int failed_cnt = 0;  ///< failures since the handle was opened
};

uim_client& g_uim = *new uim_client;

template <typename T>
struct record_deleter {
  void operator()(T* block) const { qcril_free_adv(block); }
};
template <typename T>
using record = std::unique_ptr<T, record_deleter<T>>;

/// All zeros; null when out of memory.
template <typename T>
record<T> make_record(const char* function) {
  return record<T>(static_cast<T*>(qcril_malloc_adv(sizeof(T), function, __LINE__)));
}

void error_cb(qmi_client_type /*handle*/, qmi_client_error_type error, void* /*data*/) {
  NORVEL_LOG("QMI error callback %d", error);
  if (error != QMI_SERVICE_ERR) return;
  g_uim.ssr_detected = true;
  NORVEL_LOG("SSR Detected, set SSR_Detected 1");
}

void norvel_uim_qmi_client_unsol_ind_cb(qmi_client_type handle, unsigned int msg_id, void* ind_buf,
                                        unsigned int ind_buf_len, void* /*data*/) {
  NORVEL_LOG("msg_id %d", static_cast<int>(msg_id));
  if (msg_id != uim_ind_v01) return;
  if (handle == nullptr || ind_buf == nullptr) {
    NORVEL_LOG("qmi_client_uim or ind_buf is NULL");
    return;
  }
  const auto decoded = make_record<uim_ind_msg_v01>(__func__);
  if (!decoded) return;
  const auto result = qmi_client_message_decode(handle, QMI_IDL_INDICATION, msg_id, ind_buf,
                                                ind_buf_len, decoded.get(), sizeof *decoded);
  NORVEL_LOG("qmi_client_message_decode result = %d", result);
  if (result != QMI_NO_ERR) {
    NORVEL_LOG("purge guti failed. resp.result = %d ,resp.result = %d",  // sic
               decoded->first, decoded->second);
  }
}

bool init_uim_qmi_client() {
  const auto error =
      qmi_client_init_instance(uim_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION),
                               QMI_CLIENT_INSTANCE_ANY, norvel_uim_qmi_client_unsol_ind_cb, nullptr,
                               &g_uim.os_params, open_timeout_ms, &g_uim.handle);
  if (error != QMI_NO_ERR) {
    NORVEL_LOG("qmi_client_init UIM instance failed, qmi_client_error = %d", error);
    g_uim.handle = nullptr;
    return false;
  }
  NORVEL_LOG("init_uim_qmi_client %p", g_uim.handle);
  if (qmi_client_register_error_cb(g_uim.handle, error_cb, nullptr) != QMI_NO_ERR) {
    NORVEL_LOG("qmi_client_register_error_cb failed");
  }
  g_uim.ssr_detected = false;
  g_uim.failed_cnt = 0;
  return true;
}

/// Does not reset the flag and the count: opening the next client does.
void uim_qmi_client_recovery() {
  NORVEL_LOG("uim_qmi_client_recovery qmi_client_release %p", g_uim.handle);
  if (g_uim.handle != nullptr && qmi_client_release(g_uim.handle) != QMI_NO_ERR) {
    NORVEL_LOG("qmi_client_release failed");
  }
  g_uim.handle = nullptr;
  NORVEL_LOG_EXIT();
}

/// A message to the service, and the texts of its log lines.
struct uim_message {
  std::uint16_t id;
  const char* function;
  const char* malloc_failed;
  const char* client_lines = function;  ///< how the lines about the client begin
  bool logs_count = false;              ///< failure lines include the failure count
};

constexpr uim_message power_up = {
    .id = uim_power_up_v01,
    .function = "norvel_uim_request_uicc_power_ex",
    .malloc_failed = "uim_power_up malloc failed",
    .logs_count = true,
};
constexpr uim_message power_down = {
    .id = uim_power_down_v01,
    .function = "norvel_uim_request_uicc_power_ex",
    .malloc_failed = "uim_power_down malloc failed",
    .logs_count = true,
};
constexpr uim_message get_eid = {
    .id = uim_get_eid_v01,
    .function = "norvel_uim_request_eid",
    .malloc_failed = "norvel_uim_request_eid malloc failed",
};
constexpr uim_message get_card_status = {
    .id = uim_get_card_status_v01,
    .function = "norvel_uim_get_card_status",
    .malloc_failed = "norvel_uim_get_card_status malloc failed",
};
constexpr uim_message open_channel = {
    .id = uim_open_logical_channel_v01,
    .function = "norvel_uim_open_channel",
    .malloc_failed = "norvel_uim_open_channel malloc failed",
};
constexpr uim_message send_apdu = {
    .id = uim_send_apdu_v01,
    .function = "norvel_uim_send_apdu",
    .malloc_failed = "norvel_uim_send_apdu malloc failed",
    .client_lines = "norvel_uim_close_channel",  // sic
};
constexpr uim_message close_channel = {
    .id = uim_logical_channel_v01,
    .function = "norvel_uim_close_channel",
    .malloc_failed = "norvel_uim_close_channel malloc failed",
};

bool has_client(const uim_message& message) {
  if (g_uim.ssr_detected) {
    NORVEL_LOG_AS(message.function, "SSR_Detected, try recovery");
    uim_qmi_client_recovery();
  }
  if (g_uim.handle == nullptr) {
    if (!init_uim_qmi_client()) {
      NORVEL_LOG_AS(message.function, "init_uim_qmi_client failed");
      return false;
    }
    NORVEL_LOG_AS(message.function, "%s try init_uim_qmi_client %p", message.client_lines,
                  g_uim.handle);
  }
  NORVEL_LOG_AS(message.function, "%s uim_qmi_client %p", message.client_lines, g_uim.handle);
  return true;
}

void count_failure(const uim_message& message, qmi_client_error_type error) {
  ++g_uim.failed_cnt;
  if (message.logs_count) {
    NORVEL_LOG_AS(message.function, "send msg sync client error = %d, failed_cnt = %d", error,
                  g_uim.failed_cnt);
  } else {
    NORVEL_LOG_AS(message.function, "send msg sync client error = %d", error);
  }
}

void recover_after(const uim_message& message, int result) {
  if (result != QMI_SERVICE_ERR && g_uim.failed_cnt < max_failures) return;
  NORVEL_LOG_AS(message.function, "QMI error, try recovery");
  uim_qmi_client_recovery();
}

/// How far an exchange got.
enum class reached : std::uint8_t { no_client, no_memory, transport };

struct exchange_outcome {
  reached stage;
  int result = failed;
};

/// When the transport succeeded, `read` receives the response and returns the result.
template <typename Response, typename Request, typename Read>
exchange_outcome exchange(const uim_message& message, const Request& filled,
                          const std::string& about_to_send, Read read) {
  if (!has_client(message)) return {reached::no_client};
  const auto request = make_record<Request>(message.function);
  const auto response = make_record<Response>(message.function);
  if (!request || !response) {
    NORVEL_LOG_AS(message.function, "%s", message.malloc_failed);
    return {reached::no_memory};
  }
  *request = filled;
  if (!about_to_send.empty()) NORVEL_LOG_AS(message.function, "%s", about_to_send.c_str());
  const auto error =
      qmi_client_send_msg_sync(g_uim.handle, message.id, request.get(), sizeof *request,
                               response.get(), sizeof *response, request_timeout_ms);
  if (error == QMI_NO_ERR) return {reached::transport, read(*response)};
  count_failure(message, error);
  return {reached::transport, error};
}

/// Exchange and recovery for every request except power.
template <typename Response, typename Request, typename Read>
exchange_outcome ask(const uim_message& message, const Request& filled, Read read,
                     const std::string& about_to_send = {}) {
  NORVEL_LOG_ENTRY_AS(message.function);
  const auto outcome = exchange<Response>(message, filled, about_to_send, read);
  if (outcome.stage == reached::transport) recover_after(message, outcome.result);
  NORVEL_LOG_EXIT_AS(message.function);
  return outcome;
}

template <typename Response>
int result_of(const Response& response) {
  return response.resp.result == 0 ? 0 : failed;
}

void read_card_states(const uim_extended_card_status_v01& status, norvel_card_states& states) {
  const std::size_t count = std::min<std::size_t>(status.card_info_len, states.size());
  for (std::size_t i = 0; i < count; ++i) {
    states[i] = static_cast<std::uint8_t>(status.card_info[i].card_state);
    NORVEL_LOG_AS(get_card_status.function, "SIM[%d] State = %d", static_cast<int>(i), states[i]);
  }
}

exchange_outcome send_power(const norvel_uicc_power& params) {
  const auto read = [](const uim_resp_v01&) { return 0; };
  if (params.power_up == 0) {
    const uim_power_down_req_v01 request{.slot = params.slot};
    return exchange<uim_resp_v01>(power_down, request,
                                  "norvel_uim_request_uicc_power_ex power down sim", read);
  }
  const std::uint8_t ignore = params.ignore_hotswap != 0 ? 1 : 0;
  const uim_power_up_req_v01 request{.slot = params.slot,
                                     .ignore_hotswap_switch_valid = 1,
                                     .ignore_hotswap_switch = ignore,
                                     .mode_valid = 1,
                                     .mode = 0};
  return exchange<uim_resp_v01>(power_up, request,
                                "norvel_uim_request_uicc_power_ex power up sim, ignore hotswap = " +
                                    std::to_string(ignore) + " ",
                                read);
}

}  // namespace

int norvel_uim_request_uicc_power_ex(const norvel_uicc_power* params) {
  NORVEL_LOG_ENTRY();
  const auto [stage, result] = send_power(*params);
  if (stage == reached::no_memory) return result;
  NORVEL_LOG("uicc_power_ex res = %d, failed_cnt = %d", result, g_uim.failed_cnt);
  recover_after(power_up, result);
  return result;
}

void norvel_uim_request_eid(std::uint8_t slot, std::uint8_t* eid) {
  ask<uim_get_eid_resp_v01>(get_eid, uim_get_eid_req_v01{.slot = slot},
                            [eid](const uim_get_eid_resp_v01& response) {
                              if (result_of(response) == 0 && response.eid_valid != 0) {
                                std::copy_n(response.eid, norvel_eid_size, eid);
                              }
                              return 0;
                            });
}

bool norvel_uim_get_card_status(norvel_card_states& states) {
  const uim_get_card_status_req_v01 request{.extended_card_status_valid = 1,
                                            .extended_card_status = 1};
  const auto outcome = ask<uim_get_card_status_resp_v01>(
      get_card_status, request, [&states](const uim_get_card_status_resp_v01& response) {
        if (response.resp.result != 0) return failed;
        NORVEL_LOG_AS(get_card_status.function, "norvel_uim_get_card_status check response");
        if (response.extended_card_status_valid != 0) {
          read_card_states(response.extended_card_status, states);
        }
        return 0;
      });
  return outcome.stage == reached::transport;
}

int norvel_uim_open_channel(std::uint8_t slot, std::span<const std::uint8_t> aid,
                            std::uint8_t& channel_id) {
  uim_open_logical_channel_req_v01 request{};
  request.slot = slot;
  request.aid_valid = 1;
  request.aid_len = static_cast<std::uint32_t>(std::min(aid.size(), uim_max_aid_v01));
  std::copy_n(aid.begin(), request.aid_len, request.aid);
  request.file_control_information_valid = 1;
  request.file_control_information = 1;
  channel_id = norvel_no_channel;
  const auto read = [&channel_id](const uim_logical_channel_resp_v01& response) {
    if (response.resp.result != 0) {
      NORVEL_LOG_AS(open_channel.function, "norvel_uim_open_channel failed");
      return failed;
    }
    NORVEL_LOG_AS(open_channel.function, "norvel_uim_open_channel successfully");
    if (response.channel_id_valid != 0) channel_id = response.channel_id;
    return 0;
  };
  return ask<uim_logical_channel_resp_v01>(open_channel, request, read).result;
}

int norvel_uim_send_apdu(std::uint8_t slot, std::uint8_t channel_id,
                         std::span<const std::uint8_t> apdu, norvel_apdu_response& response) {
  uim_send_apdu_req_v01 request{};
  request.slot = slot;
  request.apdu_len = static_cast<std::uint32_t>(std::min(apdu.size(), uim_max_apdu_v01));
  std::copy_n(apdu.begin(), request.apdu_len, request.apdu);
  request.channel_id_valid = 1;
  request.channel_id = channel_id;
  request.procedure_bytes_valid = 1;
  request.procedure_bytes = 1;
  response = {};
  const auto read = [&response](const uim_send_apdu_resp_v01& answer) {
    if (answer.resp.result != 0) {
      NORVEL_LOG_AS(send_apdu.function, "norvel_uim_send_apdu failed");
      return failed;
    }
    NORVEL_LOG_AS(send_apdu.function, "norvel_uim_send_apdu successfully");
    const auto length = std::min<std::size_t>(answer.apdu_len, response.bytes.size());
    if (answer.apdu_valid != 0) {
      response.length = static_cast<std::uint8_t>(length);
      std::copy_n(answer.apdu, length, response.bytes.begin());
    }
    return 0;
  };
  return ask<uim_send_apdu_resp_v01>(
             send_apdu, request, read,
             "norvel_uim_send_apdu apdu_len = " + std::to_string(request.apdu_len))
      .result;
}

int norvel_uim_close_channel(std::uint8_t slot, std::uint8_t channel_id) {
  uim_logical_channel_req_v01 request{};
  request.slot = slot;
  request.channel_id_valid = 1;
  request.channel_id = channel_id;
  request.terminate_application_valid = 1;
  request.terminate_application = 1;
  const auto read = [](const uim_logical_channel_resp_v01& response) {
    const int result = result_of(response);
    if (result == 0) {
      NORVEL_LOG_AS(close_channel.function, "norvel_uim_close_channel successfully");
    }
    return result;
  };
  return ask<uim_logical_channel_resp_v01>(close_channel, request, read).result;
}
