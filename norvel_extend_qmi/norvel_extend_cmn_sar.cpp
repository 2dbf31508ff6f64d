#include "norvel_extend_qmi/norvel_extend_cmn_sar.h"

#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "platform/qmi_client.h"
#include "qcril-common/utilities/norvel_ril_log.h"
#include "services/sar_v01.h"

namespace {

constexpr char function[] = "norvel_get_sar_dsi";

int ask_sar_state() {
  qmi_client_type handle = nullptr;
  // Static: the library uses it for as long as the client lives, which is until the process ends.
  static qmi_client_os_params os_params;
  auto error = qmi_client_init_instance(
      sar_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION), QMI_CLIENT_INSTANCE_ANY,
      norvel_qcril_qmi_client_common_empty_unsol_ind_cb, nullptr, &os_params, 4, &handle);
  if (error != QMI_NO_ERR) {
    NORVEL_LOG_AS(function, "qmi_client_init_instance failed, qmi_client_error = %d", error);
    return -1;
  }
  sar_rf_get_state_resp_v01 response{};
  constexpr unsigned int timeout_ms = 30000;
  error = qmi_client_send_msg_sync(handle, sar_rf_get_state_v01, nullptr, 0, &response,
                                   sizeof response, timeout_ms);
  if (error != QMI_NO_ERR) {
    NORVEL_LOG_AS(function, "qmi_client_send_msg_sync failed, qmi_client_error = %d", error);
    return -1;
  }
  NORVEL_LOG_AS(function, "dsi vailid = %d , dsi value = %d",  // sic
                response.sar_rf_state_valid, response.sar_rf_state);
  return response.sar_rf_state;
}

}  // namespace

int norvel_get_sar_dsi() {
  NORVEL_LOG_ENTRY();
  const int state = ask_sar_state();
  NORVEL_LOG_EXIT();
  return state;
}
