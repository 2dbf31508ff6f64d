// The QMI clients of the library, one for each service. Only the first is ever connected.
#pragma once

#include <array>
#include <cstdint>

#include "modem_api/response.h"
#include "platform/mutex.h"
#include "platform/qmi_client.h"

namespace modem_api {

/// Gets the response of a request that was sent without waiting for it.
using command_cb = void (*)(qmi_client_type handle, unsigned int msg_id, void* response,
                            unsigned int length, void* context,
                            qmi_client_error_type transport_error);

struct service_client {
  qmi_idl_service_object_type service;
  /// Connected to the service, or its notifier while the service is down.
  qmi_client_type handle;
  qmi_client_os_params os_params;
  command_cb command;
  std::uint32_t initialised;  ///< 1 from the connection to its end; while the service is down too
};

/// Indexed by client type.
struct service_clients {
  /// Held while clients are made and released, which waits for services and for the QMI library's
  /// threads: neither callbacks nor requests take it. The connection's and the client table's lock
  /// may be taken inside it, in this order.
  platform::mutex lock;
  std::array<service_client, 4> records TVK_GUARDED_BY(lock){};
};

// Never destroyed: the threads that follow the service run until the process has ended.
inline service_clients& g_service_clients = *new service_clients;

}  // namespace modem_api

void vs_init();
void sar_init();
void nas_0_init();
void nas_1_init();

void vs_client_command_cb(qmi_client_type handle, unsigned int msg_id, void* response,
                          unsigned int length, void* context,
                          qmi_client_error_type transport_error);
void sar_client_command_cb(qmi_client_type handle, unsigned int msg_id, void* response,
                           unsigned int length, void* context,
                           qmi_client_error_type transport_error);
void nas_0_client_command_cb(qmi_client_type handle, unsigned int msg_id, void* response,
                             unsigned int length, void* context,
                             qmi_client_error_type transport_error);
void nas_1_client_command_cb(qmi_client_type handle, unsigned int msg_id, void* response,
                             unsigned int length, void* context,
                             qmi_client_error_type transport_error);
