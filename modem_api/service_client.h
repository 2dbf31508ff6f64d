// The library's QMI clients, one per service. Only the first one, vs, is ever connected.
#pragma once

#include <array>
#include <cstdint>

#include "modem_api/response.h"
#include "platform/mutex.h"
#include "platform/qmi_client.h"

namespace modem_api {

/// Receives the response to a request that was sent without waiting.
using command_cb = void (*)(qmi_client_type handle, unsigned int msg_id, void* response,
                            unsigned int length, void* context,
                            qmi_client_error_type transport_error);

struct service_client {
  qmi_idl_service_object_type service;
  /// Connected to the service, or its notifier while the service is down.
  qmi_client_type handle;
  qmi_client_os_params os_params;
  command_cb command;
  std::uint32_t initialised;  ///< 1 until the connection is closed, even while the service is down
};

/// Indexed by client type.
struct service_clients {
  /// Held while clients are created and released. That waits for services and for the QMI library's
  /// threads, so neither callbacks nor requests may take this lock. Inside it the connection's lock
  /// and then the client table's may be taken.
  platform::mutex lock;
  std::array<service_client, 4> records TVK_GUARDED_BY(lock){};
};

// Never destroyed: the threads that follow the service run until the process ends.
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
