#include "norvel_extend_qmi/nvefs_exchange.h"

#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "qcril-common/utilities/norvel_ril_log.h"

namespace {

constexpr char log_source[] = "norvel_extend_nvefs";

}  // namespace

int nvefs_exchange(const char* function, const nvefs_request& request, nvefs_response& response,
                   const char* client_failure) {
  nvefs_request sent = request;
  response = {};
  unsigned int capacity = sizeof response;
  const int result = norvel_qmi_result_map(
      norvel_extend_qmi_send_sync(nvefs_request_type, reinterpret_cast<unsigned char*>(&sent),
                                  sizeof sent, &response, &capacity));
  NORVEL_LOG_AS(function, "result = %d, rsp.result = %d", result, response.result);
  if (result != 0) {
    NORVEL_LOG_AS(function, "%s", client_failure);
    return result;
  }
  if (response.result != 0) NORVEL_LOG_AS(function, "qmi response fail");
  return response.result;
}
