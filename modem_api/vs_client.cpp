#include "modem_api/vs_client.h"

#include <pthread.h>

#include <chrono>
#include <cstring>
#include <utility>

#include "modem_api/client_table.h"
#include "modem_api/modem_api.h"
#include "qcril-common/utilities/orvax_log.h"
#include "qcril-common/utilities/orvax_memory.h"
#include "qcril-common/utilities/retry.h"

namespace {

using modem_api::g_service_clients;
using modem_api::service_client;

constexpr std::uint32_t connect_timeout_ms = 4;
constexpr int most_tries = 9;  // after the first call
constexpr std::chrono::seconds between_tries{1};

/// What callbacks and requests see of the connection. No thread waits while holding this lock.
struct connection_state {
  platform::mutex lock;
  qmi_client_type handle TVK_GUARDED_BY(lock) = nullptr;  ///< null without a connection
  /// Numbers connections and notifiers, so that callbacks and threads recognise their own.
  std::uintptr_t generation TVK_GUARDED_BY(lock) = 0;
  /// The last connection whose service was lost, possibly before it became the current one.
  std::uintptr_t lost_generation TVK_GUARDED_BY(lock) = 0;
};
connection_state& g_connection = *new connection_state;

service_client& vs_record() TVK_REQUIRES(g_service_clients.lock) {
  return g_service_clients.records.at(MODEM_API_CLIENT_VS);
}

/// A generation as the user data of a callback or thread.
void* to_data(std::uintptr_t generation) {
  return reinterpret_cast<void*>(generation);  // NOLINT(performance-no-int-to-ptr): not followed
}
std::uintptr_t to_generation(const void* data) {
  return reinterpret_cast<std::uintptr_t>(data);
}

/// The generation of the connection being created. The lock makes sure that it becomes the current
/// one.
std::uintptr_t next_generation() TVK_REQUIRES(g_service_clients.lock) {
  const platform::mutex_lock hold(g_connection.lock);
  return g_connection.generation + 1;
}

/// The program accepts any instance.
int vs_client_get_master_port() {
  return 0;
}

qmi_client_error_type vs_client_init_client_handles() TVK_REQUIRES(g_service_clients.lock) {
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "function entry");
  const int port = vs_client_get_master_port();
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "using port %d", port);
  service_client& record = vs_record();
  const auto connect = [&] {
    return qmi_client_init_instance(record.service, QMI_CLIENT_INSTANCE_ANY, vs_client_unsol_ind_cb,
                                    nullptr, &record.os_params, connect_timeout_ms, &record.handle);
  };
  auto error = connect();
  for (int tries = 1; error != QMI_NO_ERR && tries <= most_tries; ++tries) {
    pause_before_retry(tries - 1, most_tries, between_tries);
    ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "Trying qmi_client_init_instance() try # %d port[%d]",
              tries, port);
    error = connect();
  }
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "qmi_client_init_instance returned (%d)", error);
  if (error != QMI_NO_ERR) {
    record.handle = nullptr;
    ORVAX_LOG(ANDROID_LOG_ERROR, __func__, "qmi_client_init_instance returned failure(%d)", error);
    return error;
  }
  // If the service is already lost, this calls back at once, before the generation is current.
  qmi_client_register_error_cb(record.handle, vs_client_service_down_event,
                               to_data(next_generation()));
  record.initialised = 1;
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "function exit with ret %ld", 0L);
  return QMI_NO_ERR;
}

/// Makes the new connection the current one and its clients operational. False if its service has
/// already been lost. Runs no callbacks yet.
template <typename Store>
bool adopt_connection(Store store_operational) TVK_REQUIRES(g_service_clients.lock) {
  const platform::mutex_lock hold(g_connection.lock);
  ++g_connection.generation;
  if (g_connection.lost_generation == g_connection.generation) {
    modem_api::store_service_status(MODEM_API_CLIENT_VS, MODEM_API_STATUS_DOWN);
    return false;
  }
  g_connection.handle = vs_record().handle;
  store_operational();
  return true;
}

/// Withdraws the handle from requests, then releases the connection or notifier.
void release_handle(service_client& record) TVK_REQUIRES(g_service_clients.lock) {
  {
    const platform::mutex_lock hold(g_connection.lock);
    g_connection.handle = nullptr;
  }
  qmi_client_release(std::exchange(record.handle, nullptr));
}

/// Whether a thread that was started for this generation is still needed.
bool is_current(std::uintptr_t generation) TVK_REQUIRES(g_service_clients.lock) {
  const platform::mutex_lock hold(g_connection.lock);
  return vs_record().initialised != 0 && g_connection.generation == generation;
}

void start_detached(void* (*body)(void*), void* data) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread{};
  if (const int error = pthread_create(&thread, &attributes, body, data); error != 0) {
    ORVAX_LOG(ANDROID_LOG_ERROR, __func__, "pthread_create returned %d", error);
  }
  pthread_attr_destroy(&attributes);
}

/// If the service is already up, this calls back at once; the thread that the callback starts then
/// waits for the lock.
void arm_notifier(service_client& record) TVK_REQUIRES(g_service_clients.lock) {
  std::uintptr_t generation = 0;
  {
    const platform::mutex_lock hold(g_connection.lock);
    generation = ++g_connection.generation;
  }
  const auto made = qmi_client_notifier_init(record.service, &record.os_params, &record.handle);
  ORVAX_LOG(ANDROID_LOG_DEBUG, "vs_client_release_qmi_client_thread",
            "qmi_client_notifier_init return %d", made);
  if (made != QMI_NO_ERR) return;
  const auto registered =
      qmi_client_register_notify_cb(record.handle, vs_client_service_up_event, to_data(generation));
  ORVAX_LOG(ANDROID_LOG_DEBUG, "vs_client_release_qmi_client_thread",
            "qmi_client_register_notify_cb %d", registered);
}

void* vs_client_release_qmi_client_thread(void* data) {
  const platform::mutex_lock hold(g_service_clients.lock);
  if (!is_current(to_generation(data))) return nullptr;
  release_handle(vs_record());
  arm_notifier(vs_record());
  return nullptr;
}

/// Reconnects. If the service is lost again meanwhile, waits for it with a new notifier.
void resume(std::uintptr_t generation) TVK_REQUIRES(g_service_clients.lock) {
  if (!is_current(generation)) return;
  service_client& record = vs_record();
  release_handle(record);
  if (vs_client_init_client_handles() != QMI_NO_ERR) return arm_notifier(record);
  const bool is_up = adopt_connection(
      [] { modem_api::store_service_status(MODEM_API_CLIENT_VS, MODEM_API_STATUS_OPERATIONAL); });
  if (is_up) return;
  release_handle(record);
  arm_notifier(record);
}

void* vs_client_resume_qmi_client_thread(void* data) {
  {
    const platform::mutex_lock hold(g_service_clients.lock);
    resume(to_generation(data));
  }
  modem_api::report_service_status();
  return nullptr;
}

void vs_client_enter_suspend(void* data) {
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "function entry");
  {
    const platform::mutex_lock hold(g_connection.lock);
    g_connection.lost_generation = to_generation(data);
    // If the connection is not current yet, the connecting thread will notice the loss.
    if (g_connection.lost_generation != g_connection.generation) return;
    modem_api::store_service_status(MODEM_API_CLIENT_VS, MODEM_API_STATUS_DOWN);
  }
  modem_api::report_service_status();
  start_detached(vs_client_release_qmi_client_thread, data);
}

void vs_client_enter_resume(void* data) {
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "function entry");
  start_detached(vs_client_resume_qmi_client_thread, data);
}

std::uint32_t connect_or_share(std::uint32_t client_id) {
  constexpr const char* function = "vs_client_init";
  const platform::mutex_lock hold(g_service_clients.lock);
  const auto status = modem_api::share_status(client_id);
  if (status && *status != MODEM_API_STATUS_OPERATIONAL) {
    ORVAX_LOG(ANDROID_LOG_ERROR, function,
              "Another client init vs client with operational status %d", *status);
    return MODEM_API_FAILURE;
  }
  service_client& record = vs_record();
  // Freeing a third client may have closed the connection.
  if (status && record.initialised != 0) {
    ORVAX_LOG(ANDROID_LOG_DEBUG, function, "Already another client init vs client successfully");
    return MODEM_API_SUCCESS;
  }
  ORVAX_LOG(ANDROID_LOG_DEBUG, function, "Client connecting to QMI FW");
  if (vs_client_init_client_handles() != QMI_NO_ERR) return MODEM_API_FAILURE;
  const bool is_up = adopt_connection(
      [&] { modem_api::set_client_status(client_id, MODEM_API_STATUS_OPERATIONAL); });
  if (is_up) return MODEM_API_SUCCESS;
  release_handle(record);
  arm_notifier(record);
  return MODEM_API_SUCCESS;
}

void vs_client_ind_hdlr(unsigned int msg_id, const void* indication, std::uint32_t length) {
  if (msg_id != vendor_stats_feature_v01) {
    ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "Unknown indication msg %0x", msg_id);
    return;
  }
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "Handling indication msg 0x%x", msg_id);
  modem_api::report_event(MODEM_API_CLIENT_VS, msg_id, indication, length);
}

}  // namespace

std::uint32_t vs_client_init(std::uint32_t client_id) {
  const std::uint32_t result = connect_or_share(client_id);
  modem_api::report_service_status();
  return result;
}

void vs_client_shutdown(service_client& record) {
  if (std::exchange(record.initialised, 0) == 0) return;
  release_handle(record);
}

qmi_client_type vs_client_handle() {
  const platform::mutex_lock hold(g_connection.lock);
  return g_connection.handle;
}

void vs_client_unsol_ind_cb(qmi_client_type handle, unsigned int msg_id, void* buffer,
                            unsigned int length, void* /*data*/) {
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "function entry");
  std::uint32_t size = 0;
  auto error = qmi_idl_get_message_c_struct_len(
      vendor_stats_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION),
      QMI_IDL_INDICATION, static_cast<std::uint16_t>(msg_id), &size);
  void* indication = nullptr;
  if (error == QMI_NO_ERR) {
    indication = orvax_malloc_adv(size);
    if (indication == nullptr) return;
    std::memset(indication, 0, size);
    error = qmi_client_message_decode(handle, QMI_IDL_INDICATION, msg_id, buffer, length,
                                      indication, size);
  }
  if (error == QMI_NO_ERR) {
    vs_client_ind_hdlr(msg_id, indication, size);
  } else {
    ORVAX_LOG(ANDROID_LOG_ERROR, __func__, "Indication decode failed for msg 0x%x with error %d",
              msg_id, error);
  }
  orvax_free_adv(indication);
}

void vs_client_service_down_event(qmi_client_type /*handle*/, qmi_client_error_type error,
                                  void* data) {
  ORVAX_LOG(ANDROID_LOG_ERROR, __func__, "service down with error %d", error);
  vs_client_enter_suspend(data);
}

void vs_client_service_up_event(qmi_client_type /*handle*/, qmi_idl_service_object_type /*service*/,
                                qmi_client_notify_event_type event, void* data) {
  if (event == QMI_CLIENT_SERVICE_COUNT_INC) vs_client_enter_resume(data);
}
