#include "modem_api/response.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "qcril-common/utilities/orvax_log.h"
#include "qcril-common/utilities/orvax_memory.h"

namespace {

struct result_row {
  std::int32_t qmi_error;
  std::uint32_t result;
};
// QMI error codes of a refused request. All others map to MODEM_API_FAILURE.
constexpr result_row refusals[] = {
    {0, MODEM_API_SUCCESS},           {4, MODEM_API_ABORTED},
    {17, MODEM_API_INVALID_ARGUMENT},  // missing
    {19, MODEM_API_INVALID_ARGUMENT},  // too long
    {24, MODEM_API_NOT_SUPPORTED},     // by the network
    {26, MODEM_API_SUCCESS},           // no effect: the state was as requested already
    {42, MODEM_API_NOT_SUPPORTED},     // requested number
    {48, MODEM_API_INVALID_ARGUMENT}, {49, MODEM_API_INVALID_ARGUMENT},  // index
    {52, MODEM_API_NOT_READY},        {77, MODEM_API_NOT_SUPPORTED},     // bundling
    {94, MODEM_API_NOT_SUPPORTED},
};

std::uint32_t result_of(const qmi_response_type_v01& response) {
  if (response.result == 0) return MODEM_API_SUCCESS;
  if (response.result != 1) return MODEM_API_FAILURE;
  const auto* const row = std::ranges::find(refusals, response.error, &result_row::qmi_error);
  return row == std::end(refusals) ? MODEM_API_FAILURE : row->result;
}

}  // namespace

std::uint32_t modem_api_map_qmi_error_to_modem_api(qmi_client_error_type qmi_error,
                                                   const qmi_response_type_v01* response) {
  switch (qmi_error) {
    case QMI_NO_ERR:
    case QMI_SERVICE_ERR:
      return result_of(*response);
    case QMI_INTERNAL_ERR:
    case QMI_PORT_NOT_OPEN_ERR:
      return MODEM_API_TRANSPORT_FAILURE;
    case QMI_TIMEOUT_ERR:
      return MODEM_API_TIMED_OUT;
    default:
      return MODEM_API_FAILURE;
  }
}

void modem_api_common_command_cb_handler(const void* response, std::uint32_t length,
                                         const modem_api_cb_struct_type* context) {
  if (response == nullptr || context == nullptr || context->user_data == nullptr) {
    ORVAX_LOG(ANDROID_LOG_ERROR, __func__, "Unexpected NULL pointer!");
    return;
  }
  std::memcpy(context->user_data, response, length);
}

void modem_api_process_response(bool cancelled, void* response, std::uint32_t response_len,
                                modem_api_cb_struct_type* context,
                                qmi_client_error_type transport_error) {
  if (context != nullptr && context->callback != nullptr) {
    std::uint32_t status = MODEM_API_NO_RESPONSE;
    if (response != nullptr && response_len != 0) {
      status = modem_api_map_qmi_error_to_modem_api(
          transport_error, static_cast<const qmi_response_type_v01*>(response));
      if (status == MODEM_API_SUCCESS) {
        if (!cancelled) modem_api_common_command_cb_handler(response, response_len, context);
        status = MODEM_API_RESPONSE;
      }
    }
    context->callback(0, 0, context->user_data, status);
  }
  orvax_free_adv(response);
  orvax_free_adv(context);
}
