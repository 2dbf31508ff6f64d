#include "norvel_extend_qmi/norvel_diag_exchange.h"

#include <cerrno>
#include <csignal>
#include <new>

#include "qcril-common/utilities/norvel_ril_log.h"

namespace norvel_diag {
namespace {

constexpr char log_source[] = "norvel_diag_send";

constexpr int local_processor = 0;
constexpr int client_signal = 18;

/// The client is registered; true when the library has taken the request.
bool send_registered(const dci_exchange& steps, int client_id, std::span<unsigned char> request,
                     std::span<unsigned char> response) {
  const char* function = steps.function;
  int result = diag_register_dci_signal_data(client_id, SIGRTMIN + 30);
  if (result != DIAG_DCI_NO_ERROR) {
    NORVEL_LOG_AS(function, "Could not register signal for DCI Data for ch:%d, err: %d, errno: %d",
                  local_processor, result, errno);
    return false;
  }
  NORVEL_LOG_AS(function, "DCI Status on Processors for ch%d:", local_processor);
  std::uint16_t peripherals = 0;
  result = diag_get_dci_support_list_proc(local_processor, &peripherals);
  if (result != DIAG_DCI_NO_ERROR) {
    NORVEL_LOG_AS(function, "Could not get support list for ch %d, err: %d, errno: %d",
                  local_processor, result, errno);
    return false;
  }
  NORVEL_LOG_AS(function, "MPSS on ch:%d: %s", local_processor,
                (peripherals & DIAG_CON_MPSS) != 0 ? "UP" : "DOWN");
  NORVEL_LOG_AS(function, "Opening Data Stream, registering listeners for ch:%d", local_processor);
  result = diag_register_dci_stream_proc(client_id, steps.log, steps.event);
  if (result != DIAG_DCI_NO_ERROR) {
    NORVEL_LOG_AS(function, "Unable to register DCI stream for ch:%d, err: %d, errno: %d",
                  local_processor, result, errno);
    return false;
  }
  NORVEL_LOG_AS(function, "Sending Asynchronous Command for ch:%d", local_processor);
  result = diag_send_dci_async_req(client_id, request.data(), static_cast<int>(request.size()),
                                   response.data(), static_cast<int>(response.size()),
                                   steps.handler, nullptr);
  if (result != DIAG_DCI_NO_ERROR) {
    NORVEL_LOG_AS(function, "Error sending SEND_REQUEST_ASYNC to peripheral %d for ch:%d", result,
                  local_processor);
    return false;
  }
  return true;
}

}  // namespace

int run(const callback_exchange& steps, std::span<unsigned char> request) {
  norvel_diag_register_callback(steps.handler);
  diag_switch_logging(DIAG_CALLBACK_MODE, nullptr);
  const int sent =
      diag_callback_send_data(local_processor, request.data(), static_cast<int>(request.size()));
  NORVEL_LOG_AS(steps.function, "ret_send = %d, will wait callback", sent);
  const int result = steps.after_send(sent);
  diag_switch_logging(DIAG_USB_MODE, nullptr);
  steps.close();
  return result;
}

int run(const dci_exchange& steps, std::span<unsigned char> request,
        std::span<unsigned char> response) {
  const char* function = steps.function;
  int client_id = 0;
  int signal = client_signal;
  std::uint16_t peripherals = DIAG_CON_MPSS;
  const int registered =
      diag_register_dci_client(&client_id, &peripherals, local_processor, &signal);
  if (registered != DIAG_DCI_NO_ERROR) {
    NORVEL_LOG_AS(function, "Could not register with DCI, err: %d, errno: %d ch:%d", registered,
                  errno, local_processor);
    steps.close();
    return 1;
  }
  NORVEL_LOG_AS(function, "Successfully registered with DCI for ch:%d, client ID = %d",
                local_processor, client_id);
  const int result = send_registered(steps, client_id, request, response) ? steps.after_send() : 1;
  steps.close();
  const int released = diag_release_dci_client(&client_id);
  NORVEL_LOG_AS(function, "Releasing DCI connection, err: %d, errno: %d", released, errno);
  return result;
}

std::unique_ptr<unsigned char[]> allocate_dci_response(const char* function) {
  std::unique_ptr<unsigned char[]> room(new (std::nothrow) unsigned char[dci_response_size]());
  if (!room) {
    NORVEL_LOG_AS(function, "Unable to allocate memory for DCI rsp pkt, errno: %d", errno);
  }
  return room;
}

}  // namespace norvel_diag
