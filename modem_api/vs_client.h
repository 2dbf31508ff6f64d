// The connection to the vendor's statistics service, and how it follows the service down and up.
//
//   connected -- service down --> released, notifier armed -- service up --> connected
//                                         ^                         |
//                                         +-- gone before the tries to connect are over
//
// The QMI library's callbacks only report and start a detached thread; the thread does what has to
// wait. A thread that comes too late, because the connection it was started for has ended
// otherwise, finds another generation and does nothing.
#pragma once

#include <cstdint>

#include "modem_api/service_client.h"
#include "platform/qmi_client.h"

/// Makes the client operational: shares the connection of another client, or connects.
[[nodiscard]] std::uint32_t vs_client_init(std::uint32_t client_id);

/// Ends the connection, or the wait for the service.
void vs_client_shutdown(modem_api::service_client& record)
    TVK_REQUIRES(modem_api::g_service_clients.lock);

/// The handle of the connection; null when there is none. Does not wait for one that is being made.
[[nodiscard]] qmi_client_type vs_client_handle();

void vs_client_unsol_ind_cb(qmi_client_type handle, unsigned int msg_id, void* buffer,
                            unsigned int length, void* data);
void vs_client_service_down_event(qmi_client_type handle, qmi_client_error_type error, void* data);
void vs_client_service_up_event(qmi_client_type handle, qmi_idl_service_object_type service,
                                qmi_client_notify_event_type event, void* data);
