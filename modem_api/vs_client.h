// The connection to the vendor's statistics service, which survives losses of the service:
//
//   connected -- service down --> released, notifier armed -- service up --> connected
//                                         ^                         |
//                                         +-- lost again before a connection succeeds
//
// The QMI library's callbacks only report and start a detached thread, which does everything that
// has to wait. A thread that is late, because the connection it was started for has ended by other
// means, finds a newer generation and does nothing.
#pragma once

#include <cstdint>

#include "modem_api/service_client.h"
#include "platform/qmi_client.h"

/// Makes the client operational by sharing another client's connection or by connecting.
[[nodiscard]] std::uint32_t vs_client_init(std::uint32_t client_id);

/// Closes the connection, or stops waiting for the service.
void vs_client_shutdown(modem_api::service_client& record)
    TVK_REQUIRES(modem_api::g_service_clients.lock);

/// The connection's handle; null when there is none yet. Does not wait for a connection in
/// progress.
[[nodiscard]] qmi_client_type vs_client_handle();

void vs_client_unsol_ind_cb(qmi_client_type handle, unsigned int msg_id, void* buffer,
                            unsigned int length, void* data);
void vs_client_service_down_event(qmi_client_type handle, qmi_client_error_type error, void* data);
void vs_client_service_up_event(qmi_client_type handle, qmi_idl_service_object_type service,
                                qmi_client_notify_event_type event, void* data);
