// What comes of a request: QMI results as results of this library, and the end of a request whose
// response comes by a callback.
#pragma once

#include "modem_api/modem_api.h"
#include "platform/qmi_client.h"

/// `response` is looked at when there was no transport error, or a service error; every response
/// begins with a standard response.
[[nodiscard]] std::uint32_t modem_api_map_qmi_error_to_modem_api(
    qmi_client_error_type qmi_error, const qmi_response_type_v01* response);

/// status: MODEM_API_RESPONSE, MODEM_API_NO_RESPONSE, or what the response maps to.
using modem_api_response_cb = void (*)(int, int, void* user_data, std::uint32_t status);

/// Of one request. Made with orvax_malloc_adv; freed with the response.
struct modem_api_cb_struct_type {
  modem_api_response_cb callback;
  void* user_data;  ///< has room for the response's C structure
};

/// Copies the response to the caller.
void modem_api_common_command_cb_handler(const void* response, std::uint32_t length,
                                         const modem_api_cb_struct_type* context);

/// Tells the caller, then frees `response` and `context`. A request that was `cancelled` leaves
/// its caller's data alone.
void modem_api_process_response(bool cancelled, void* response, std::uint32_t response_len,
                                modem_api_cb_struct_type* context,
                                qmi_client_error_type transport_error);
