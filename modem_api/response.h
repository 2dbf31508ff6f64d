// The outcome of a request: maps QMI results to this library's results, and completes requests
// whose response is delivered by a callback.
#pragma once

#include "modem_api/modem_api.h"
#include "platform/qmi_client.h"

/// `response` counts only without a transport error or with QMI_SERVICE_ERR. Every response begins
/// with a standard response.
[[nodiscard]] std::uint32_t modem_api_map_qmi_error_to_modem_api(
    qmi_client_error_type qmi_error, const qmi_response_type_v01* response);

/// `status`: MODEM_API_RESPONSE, MODEM_API_NO_RESPONSE, or the result that the response maps to.
using modem_api_response_cb = void (*)(int, int, void* user_data, std::uint32_t status);

/// The context of one request. Allocated with orvax_malloc_adv; freed with the response.
struct modem_api_cb_struct_type {
  modem_api_response_cb callback;
  void* user_data;  ///< has room for the response's C structure
};

/// Copies the response to the caller.
void modem_api_common_command_cb_handler(const void* response, std::uint32_t length,
                                         const modem_api_cb_struct_type* context);

/// Calls the caller back, then frees `response` and `context`. If the request was `cancelled`, the
/// caller's data is left untouched.
void modem_api_process_response(bool cancelled, void* response, std::uint32_t response_len,
                                modem_api_cb_struct_type* context,
                                qmi_client_error_type transport_error);
