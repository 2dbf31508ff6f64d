#include "modem_api/service_client.h"

#include "modem_api/modem_api.h"
#include "qcril-common/utilities/orvax_log.h"
#include "services/nas_v01.h"
#include "services/sar_v01.h"
#include "services/vendor_stats_v01.h"

namespace modem_api {
namespace {

using service_object_getter = qmi_idl_service_object_type (*)(std::int32_t, std::int32_t,
                                                              std::int32_t);

void fill(std::uint32_t type, const char* step, service_object_getter service, command_cb command) {
  ORVAX_LOG(ANDROID_LOG_DEBUG, step, "function entry");
  {
    const platform::mutex_lock hold(g_service_clients.lock);
    service_client& record = g_service_clients.records.at(type);
    record.service = service(1, 1, QMI_IDL_LIBRARY_VERSION);
    record.command = command;
  }
  ORVAX_LOG(ANDROID_LOG_DEBUG, step, "function exit");
}

}  // namespace

}  // namespace modem_api

using namespace modem_api;

void vs_init() {
  fill(MODEM_API_CLIENT_VS, __func__, vendor_stats_get_service_object_internal_v01,
       vs_client_command_cb);
}

void sar_init() {
  fill(MODEM_API_CLIENT_SAR, __func__, sar_get_service_object_internal_v01, sar_client_command_cb);
}

void nas_0_init() {
  fill(MODEM_API_CLIENT_NAS_0, __func__, nas_get_service_object_internal_v01,
       nas_0_client_command_cb);
}

void nas_1_init() {
  fill(MODEM_API_CLIENT_NAS_1, __func__, nas_get_service_object_internal_v01,
       nas_1_client_command_cb);
}

void vs_client_command_cb(qmi_client_type /*handle*/, unsigned int /*msg_id*/, void* response,
                          unsigned int length, void* context,
                          qmi_client_error_type transport_error) {
  modem_api_process_response(false, response, length,
                             static_cast<modem_api_cb_struct_type*>(context), transport_error);
}

void sar_client_command_cb(qmi_client_type handle, unsigned int msg_id, void* response,
                           unsigned int length, void* context,
                           qmi_client_error_type transport_error) {
  vs_client_command_cb(handle, msg_id, response, length, context, transport_error);
}

void nas_0_client_command_cb(qmi_client_type handle, unsigned int msg_id, void* response,
                             unsigned int length, void* context,
                             qmi_client_error_type transport_error) {
  vs_client_command_cb(handle, msg_id, response, length, context, transport_error);
}

void nas_1_client_command_cb(qmi_client_type handle, unsigned int msg_id, void* response,
                             unsigned int length, void* context,
                             qmi_client_error_type transport_error) {
  vs_client_command_cb(handle, msg_id, response, length, context, transport_error);
}
