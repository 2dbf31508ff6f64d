// The QMI client library's functions: arguments and handles here, the work in client and notifier.
#include <algorithm>
#include <chrono>

#include "platform/linux/idl/codec.h"
#include "platform/linux/qmi/client.h"
#include "platform/linux/qmi/lookup.h"
#include "platform/linux/qmi/notifier.h"
#include "platform/linux/qmi/os_signal.h"
#include "platform/linux/report.h"
#include "platform/qmi_client.h"

namespace {

using qmi::find_handle_of;
using qmi::server;

/// A server in the opaque form that callers hold: {transport, version, instance, 0}, service,
/// instance word, node, port.
qmi_service_info to_info(const server& which) {
  return {{(which.version() << 8) | ((which.instance() & 0xFF) << 16), which.service,
           which.instance_word, which.at.node, which.at.port}};
}

protocol::qrtr::address address_of(const qmi_service_info& info) {
  return {info.info[3], info.info[4]};
}

qmi_client_error_type connect(protocol::qrtr::address at, qmi_idl_service_object_type service,
                              qmi::indication_receiver indications, qmi_client_type* user_handle) {
  auto made = std::make_shared<qmi::client>(service, indications);
  const auto handle = qmi::new_handle();
  // Before it starts, because its callbacks may use the handle.
  qmi::add_handle(handle, made);
  if (const auto error = made->start(handle, at); error != QMI_NO_ERR) {
    qmi::remove_handle(handle);
    return error;
  }
  *user_handle = handle;
  return QMI_NO_ERR;
}

template <typename Byte, typename Pointer>
std::span<Byte> bytes_at(Pointer* start, unsigned size) {
  return {static_cast<Byte*>(start), start == nullptr ? 0 : size};
}

struct released_at_end {
  qmi_client_type handle;

  explicit released_at_end(qmi_client_type released) : handle(released) {}
  ~released_at_end() { qmi_client_release(handle); }
  released_at_end(const released_at_end&) = delete;
  released_at_end& operator=(const released_at_end&) = delete;
};

bool is_instance(const server& candidate, std::uint32_t instance) {
  return instance == QMI_CLIENT_INSTANCE_ANY || candidate.instance() == instance;
}

}  // namespace

qmi_client_error_type qmi_client_notifier_init(qmi_idl_service_object_type service,
                                               qmi_client_os_params* os_params,
                                               qmi_client_type* user_handle) {
  if (service == nullptr || os_params == nullptr || user_handle == nullptr) {
    return QMI_CLIENT_PARAM_ERR;
  }
  auto made = std::make_shared<qmi::notifier>(service, *os_params);
  const auto handle = qmi::new_handle();
  if (const auto error = made->start(handle); error != QMI_NO_ERR) return error;
  qmi::add_handle(handle, std::move(made));
  *user_handle = handle;
  return QMI_NO_ERR;
}

qmi_client_error_type qmi_client_get_service_list(qmi_idl_service_object_type service,
                                                  qmi_service_info* service_info_array,
                                                  std::uint32_t* num_entries,
                                                  std::uint32_t* num_services) {
  if (service == nullptr || num_services == nullptr) return QMI_CLIENT_PARAM_ERR;
  const auto servers = qmi::find_servers(service->service_id).servers;
  std::size_t filled = 0;
  if (service_info_array != nullptr && num_entries != nullptr) {
    filled = std::min<std::size_t>(*num_entries, servers.size());
    std::transform(servers.begin(), servers.begin() + static_cast<std::ptrdiff_t>(filled),
                   service_info_array, to_info);
  }
  if (num_entries != nullptr) *num_entries = static_cast<std::uint32_t>(filled);
  *num_services = static_cast<std::uint32_t>(servers.size());
  return servers.empty() ? QMI_SERVICE_ERR : QMI_NO_ERR;
}

qmi_client_error_type qmi_client_init(qmi_service_info* service_info,
                                      qmi_idl_service_object_type service, qmi_client_ind_cb ind_cb,
                                      void* ind_cb_data, qmi_client_os_params* os_params,
                                      qmi_client_type* user_handle) {
  if (service_info == nullptr || service == nullptr || user_handle == nullptr) {
    return QMI_CLIENT_PARAM_ERR;
  }
  if (os_params != nullptr) qmi::init_signal(*os_params);
  const auto error =
      connect(address_of(*service_info), service, {ind_cb, ind_cb_data}, user_handle);
  if (error == QMI_SERVICE_ERR) {
    platform::report_once(qmi::service_name(service->service_id) + " has gone from " +
                          qmi::endpoint_name());
  }
  return error;
}

qmi_client_error_type qmi_client_init_instance(qmi_idl_service_object_type service,
                                               std::uint32_t instance, qmi_client_ind_cb ind_cb,
                                               void* ind_cb_data, qmi_client_os_params* os_params,
                                               std::uint32_t timeout_ms,
                                               qmi_client_type* user_handle) {
  if (service == nullptr || user_handle == nullptr) return QMI_CLIENT_PARAM_ERR;
  qmi_client_os_params own_signal;
  qmi_client_os_params& signal = os_params == nullptr ? own_signal : *os_params;
  qmi_client_type notifier = nullptr;
  if (const auto error = qmi_client_notifier_init(service, &signal, &notifier);
      error != QMI_NO_ERR) {
    return error;
  }
  const released_at_end release{notifier};
  for (;;) {
    qmi_cci_os_signal_clear(&signal);
    for (const server& candidate : qmi::find_servers(service->service_id).servers) {
      if (!is_instance(candidate, instance)) continue;
      const auto error = connect(candidate.at, service, {ind_cb, ind_cb_data}, user_handle);
      if (error != QMI_SERVICE_ERR) return error;
    }
    qmi_cci_os_signal_wait(&signal, timeout_ms);
    if (signal.timed_out != 0) return QMI_TIMEOUT_ERR;
  }
}

qmi_client_error_type qmi_client_register_error_cb(qmi_client_type user_handle,
                                                   qmi_client_error_cb callback,
                                                   void* err_cb_data) {
  const auto client = find_handle_of<qmi::client>(user_handle);
  if (!client) return QMI_CLIENT_INVALID_CLNT;
  return client->set_error_callback(callback, err_cb_data);
}

qmi_client_error_type qmi_client_register_notify_cb(qmi_client_type user_handle,
                                                    qmi_client_notify_cb callback,
                                                    void* notify_cb_data) {
  const auto notifier = find_handle_of<qmi::notifier>(user_handle);
  if (!notifier) return QMI_CLIENT_INVALID_CLNT;
  if (callback == nullptr) return QMI_CLIENT_PARAM_ERR;
  notifier->set_callback(callback, notify_cb_data);
  return QMI_NO_ERR;
}

qmi_client_error_type qmi_client_send_msg_sync(qmi_client_type user_handle, unsigned int msg_id,
                                               void* req_c_struct, unsigned int req_c_struct_len,
                                               void* resp_c_struct, unsigned int resp_c_struct_len,
                                               unsigned int timeout_ms) {
  const auto client = find_handle_of<qmi::client>(user_handle);
  if (!client) return QMI_CLIENT_INVALID_CLNT;
  const auto message_id = static_cast<std::uint16_t>(msg_id);
  std::uint32_t request_size = 0;
  std::uint32_t response_size = 0;
  for (const auto& [kind, size] :
       {std::pair(QMI_IDL_REQUEST, &request_size), std::pair(QMI_IDL_RESPONSE, &response_size)}) {
    const auto error = qmi_idl_get_message_c_struct_len(client->service(), kind, message_id, size);
    if (error != QMI_NO_ERR) return error;
  }
  const bool is_empty = req_c_struct == nullptr && req_c_struct_len == 0;
  const bool is_whole = req_c_struct != nullptr && req_c_struct_len == request_size;
  if ((!is_empty && !is_whole) || resp_c_struct == nullptr || resp_c_struct_len < response_size) {
    return QMI_CLIENT_PARAM_ERR;
  }
  std::optional<std::chrono::milliseconds> timeout;
  if (timeout_ms != 0) timeout = std::chrono::milliseconds(timeout_ms);
  return client->send_sync(message_id, bytes_at<const std::uint8_t>(req_c_struct, req_c_struct_len),
                           bytes_at<std::uint8_t>(resp_c_struct, resp_c_struct_len), timeout);
}

qmi_client_error_type qmi_client_message_decode(qmi_client_type user_handle,
                                                qmi_idl_type_of_message message_type,
                                                unsigned int message_id, const void* src,
                                                unsigned int src_len, void* dst,
                                                unsigned int dst_len) {
  const auto client = find_handle_of<qmi::client>(user_handle);
  if (!client) return QMI_CLIENT_INVALID_CLNT;
  return idl::decode(client->service(), message_type, static_cast<std::uint16_t>(message_id),
                     bytes_at<const std::uint8_t>(src, src_len),
                     bytes_at<std::uint8_t>(dst, dst_len));
}

qmi_client_error_type qmi_client_release(qmi_client_type user_handle) {
  const auto object = qmi::remove_handle(user_handle);
  if (!object) return QMI_CLIENT_INVALID_CLNT;
  object->stop();
  return QMI_NO_ERR;
}
