#include "modem_api/modem_api.h"

#include "modem_api/client_table.h"
#include "modem_api/response.h"
#include "modem_api/service_client.h"
#include "modem_api/vs_client.h"
#include "platform/mutex.h"
#include "qcril-common/utilities/orvax_log.h"

namespace {

constexpr unsigned int request_timeout_ms = 30000;

struct library {
  platform::mutex lock;  ///< taken before the client table's
  std::uint32_t init_count TVK_GUARDED_BY(lock) = 0;
};
library& g_library = *new library;

/// Calls that wait for the QMI library's threads would deadlock on those threads.
bool is_refused_here(const char* function) {
  if (!modem_api::is_in_callback()) return false;
  ORVAX_LOG(ANDROID_LOG_ERROR, function, "not supported in a callback");
  return true;
}

/// Returns 0 when requests may be sent for the client.
std::uint32_t check_operational(std::uint32_t client_id, const char* function) {
  const auto client = modem_api::find_client(client_id);
  if (client && client->type == MODEM_API_CLIENT_VS &&
      client->operational_status == MODEM_API_STATUS_OPERATIONAL) {
    return MODEM_API_SUCCESS;
  }
  ORVAX_LOG(ANDROID_LOG_ERROR, function, "Unexpected condition, return error %d!",
            static_cast<int>(MODEM_API_NO_CLIENT));
  return MODEM_API_NO_CLIENT;
}

template <typename Request, typename Response>
qmi_client_error_type exchange(std::uint16_t message_id, Request& request, Response& response) {
  // If the connection ends meanwhile, the QMI library returns an error code.
  return qmi_client_send_msg_sync(vs_client_handle(), message_id, &request, sizeof request,
                                  &response, sizeof response, request_timeout_ms);
}

}  // namespace

std::uint32_t modem_api_init() {
  if (is_refused_here(__func__)) return MODEM_API_NOT_SUPPORTED;
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "function entry");
  {
    const platform::mutex_lock hold(g_library.lock);
    if (g_library.init_count == 0) {
      modem_api::forget_clients();
      g_library.init_count = 1;
    }
  }
  vs_init();
  sar_init();
  nas_0_init();
  nas_1_init();
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "function exit");
  return MODEM_API_SUCCESS;
}

std::uint32_t modem_api_init_client(std::uint32_t type, modem_api_event_cb event_cb,
                                    modem_api_status_cb operational_status_cb,
                                    std::uint32_t* client_id) {
  if (is_refused_here(__func__)) return MODEM_API_NOT_SUPPORTED;
  std::uint32_t result = MODEM_API_FAILURE;
  const auto id = modem_api::add_client({.type = type,
                                         .id = 0,
                                         .operational_status = 0,
                                         .event_cb = event_cb,
                                         .operational_status_cb = operational_status_cb});
  if (id) {
    result = type == MODEM_API_CLIENT_VS ? vs_client_init(*id) : MODEM_API_SUCCESS;
    if (result == MODEM_API_SUCCESS) {
      *client_id = *id;
    } else {
      modem_api::remove_client(*id);
    }
  }
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "function exit with ret %ld", static_cast<long>(result));
  return result;
}

std::uint32_t modem_api_free_client(std::uint32_t client_id) {
  using modem_api::g_service_clients;
  if (is_refused_here(__func__)) return MODEM_API_NOT_SUPPORTED;
  const platform::mutex_lock hold(g_service_clients.lock);
  const auto freed = modem_api::find_client(client_id);
  if (!freed) {
    ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "client already freed");
    return MODEM_API_SUCCESS;
  }
  auto& records = g_service_clients.records;
  if (freed->type < records.size()) vs_client_shutdown(records.at(freed->type));
  modem_api::remove_client(client_id);
  return MODEM_API_SUCCESS;
}

void modem_api_release() {
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "function entry");
  {
    const platform::mutex_lock hold(g_library.lock);
    if (g_library.init_count >= 1) {
      modem_api::forget_clients();
      --g_library.init_count;
    }
  }
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "function exit");
}

std::uint32_t modem_api_set_orvax_feature_status(std::uint32_t client_id) {
  if (const auto error = check_operational(client_id, __func__); error != MODEM_API_SUCCESS) {
    return error;
  }
  vendor_stats_feature_req_v01 request{.feature = vendor_stats_collection_v01,
                                       .enable_valid = 1,
                                       .enable = 1,
                                       .option_valid = 1,
                                       .option = 0};
  vendor_stats_feature_resp_v01 response{};
  const auto error = exchange(vendor_stats_feature_v01, request, response);
  const auto result = modem_api_map_qmi_error_to_modem_api(error, &response.resp);
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "result %d", static_cast<int>(result));
  return result;
}

std::uint32_t modem_api_get_stats_parameter(std::uint32_t client_id, std::uint16_t sub,
                                            std::uint16_t number, std::uint32_t id,
                                            vendor_stats_get_resp_v01& answer) {
  answer = {};
  if (const auto error = check_operational(client_id, __func__); error != MODEM_API_SUCCESS) {
    return error;
  }
  vendor_stats_get_req_v01 request{.sub = sub, .number = number, .ids_len = 1, .ids = {id}};
  auto error = exchange(vendor_stats_get_v01, request, answer);
  // The decoder stops at a count that is too large but stores it, so that the caller's own checks
  // can report it.
  if (error == QMI_IDL_ARRAY_TOO_BIG) error = QMI_NO_ERR;
  return modem_api_map_qmi_error_to_modem_api(error, &answer.resp);
}
