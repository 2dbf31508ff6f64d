// The QMI client library: finds services, exchanges messages, delivers indications.
// Names, argument order and values are those of the phone's library.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "platform/qmi_idl.h"

/// Opaque; null is invalid.
using qmi_client_type = void*;

/// 0, one of the client codes below, or an IDL code.
using qmi_client_error_type = int32_t;

enum : qmi_client_error_type {
  QMI_NO_ERR = 0,
  QMI_INTERNAL_ERR = -1,
  QMI_SERVICE_ERR = -2,  ///< service unreachable or gone
  QMI_TIMEOUT_ERR = -3,
  QMI_EXTENDED_ERR = -4,
  QMI_PORT_NOT_OPEN_ERR = -5,
  QMI_MEMCOPY_ERROR = -13,
  QMI_INVALID_TXN = -14,
  QMI_CLIENT_ALLOC_FAILURE = -15,
  QMI_CLIENT_TRANSPORT_ERR = -16,
  QMI_CLIENT_PARAM_ERR = -17,
  QMI_CLIENT_INVALID_CLNT = -18,
  QMI_CLIENT_FW_NOT_UP = -19,
  QMI_CLIENT_INVALID_SIG = -20,
  QMI_XPORT_BUSY_ERR = -21,

  QMI_IDL_EXTENDED = -40,
  QMI_IDL_BUFFER_TOO_SMALL = -41,
  QMI_IDL_ARRAY_TOO_BIG = -42,
  QMI_IDL_MESSAGE_ID_NOT_FOUND = -43,
  QMI_IDL_TLV_DUPLICATED = -44,
  QMI_IDL_LENGTH_INCONSISTENCY = -45,
  QMI_IDL_MISSING_TLV = -46,
  QMI_IDL_PARAMETER_ERROR = -47,
  QMI_IDL_UNRECOGNIZED_VERSION = -48,
  QMI_IDL_UNKNOWN_MANDATORY_TLV = -49,
  QMI_IDL_INCOMPATIBLE_VERSION = -50,
  QMI_IDL_RANGE_FAILURE = -51,
};

/// `instance` of qmi_client_init_instance: connect to any instance.
constexpr uint32_t QMI_CLIENT_INSTANCE_ANY = 0xFFFF;

/// One instance of a service, as found by qmi_client_get_service_list. Opaque to callers.
struct qmi_service_info {
  uint32_t info[5];
};
static_assert(sizeof(qmi_service_info) == 20);

/// A signal object, initialised by the library, which uses it as long as the client lives.
struct qmi_cci_os_signal_type {
  uint32_t sig_set;
  uint32_t timed_out;
  uint32_t clock;
  pthread_cond_t cond;
  pthread_condattr_t attr;
  pthread_mutex_t mutex;
};
using qmi_client_os_params = qmi_cci_os_signal_type;

enum qmi_client_notify_event_type {
  QMI_CLIENT_SERVICE_COUNT_INC = 0,
  QMI_CLIENT_SERVICE_COUNT_DEC = 1,
};

extern "C" {
/// Callbacks run on the library's threads. `ind_buf` holds encoded TLVs; null if there are none.
using qmi_client_ind_cb = void (*)(qmi_client_type user_handle, unsigned int msg_id, void* ind_buf,
                                   unsigned int ind_buf_len, void* ind_cb_data);
using qmi_client_error_cb = void (*)(qmi_client_type user_handle, qmi_client_error_type error,
                                     void* err_cb_data);
using qmi_client_notify_cb = void (*)(qmi_client_type user_handle,
                                      qmi_idl_service_object_type service,
                                      qmi_client_notify_event_type event, void* notify_cb_data);

/// Watches for the service: `os_params` is signalled at once if a server exists, and then whenever
/// one appears or disappears.
qmi_client_error_type qmi_client_notifier_init(qmi_idl_service_object_type service,
                                               qmi_client_os_params* os_params,
                                               qmi_client_type* user_handle);

/// Lists the service's servers: 0 when there is at least one, otherwise QMI_SERVICE_ERR.
/// `num_entries`: in the array's capacity, out how many were filled; null if the array is.
qmi_client_error_type qmi_client_get_service_list(qmi_idl_service_object_type service,
                                                  qmi_service_info* service_info_array,
                                                  uint32_t* num_entries, uint32_t* num_services);

/// Waits until the signal is set; `timeout_ms` 0 waits forever. Sets timed_out; keeps sig_set.
void qmi_cci_os_signal_wait(qmi_client_os_params* os_params, uint32_t timeout_ms);

qmi_client_error_type qmi_client_init(qmi_service_info* service_info,
                                      qmi_idl_service_object_type service, qmi_client_ind_cb ind_cb,
                                      void* ind_cb_data, qmi_client_os_params* os_params,
                                      qmi_client_type* user_handle);

/// Finds a server and connects. QMI_TIMEOUT_ERR when none appears within `timeout_ms`.
qmi_client_error_type qmi_client_init_instance(qmi_idl_service_object_type service,
                                               uint32_t instance, qmi_client_ind_cb ind_cb,
                                               void* ind_cb_data, qmi_client_os_params* os_params,
                                               uint32_t timeout_ms, qmi_client_type* user_handle);

/// The callback is called with QMI_SERVICE_ERR once, when the server is lost. If it already is, the
/// callback runs inside this call, which then returns QMI_SERVICE_ERR.
qmi_client_error_type qmi_client_register_error_cb(qmi_client_type user_handle,
                                                   qmi_client_error_cb callback, void* err_cb_data);

/// For notifiers only. If a server is already known the callback runs inside this call.
qmi_client_error_type qmi_client_register_notify_cb(qmi_client_type user_handle,
                                                    qmi_client_notify_cb callback,
                                                    void* notify_cb_data);

/// Sizes are those of the C structures; `timeout_ms` 0 waits forever. Returns transport or decoder
/// codes; checking the response's own result field is up to the caller.
qmi_client_error_type qmi_client_send_msg_sync(qmi_client_type user_handle, unsigned int msg_id,
                                               void* req_c_struct, unsigned int req_c_struct_len,
                                               void* resp_c_struct, unsigned int resp_c_struct_len,
                                               unsigned int timeout_ms);

qmi_client_error_type qmi_client_message_decode(qmi_client_type user_handle,
                                                qmi_idl_type_of_message message_type,
                                                unsigned int message_id, const void* src,
                                                unsigned int src_len, void* dst,
                                                unsigned int dst_len);

/// Returns when the client's thread has ended, so it must not be called from a callback of the same
/// handle. (The library of a Linux host allows that: it then runs no further callback.)
qmi_client_error_type qmi_client_release(qmi_client_type user_handle);
}

/// Makes the next qmi_cci_os_signal_wait wait for a new event.
inline void qmi_cci_os_signal_clear(qmi_client_os_params* os_params) {
  pthread_mutex_lock(&os_params->mutex);
  os_params->sig_set = 0;
  pthread_mutex_unlock(&os_params->mutex);
}
