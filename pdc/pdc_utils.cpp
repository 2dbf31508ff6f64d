#include "pdc/pdc_utils.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <mutex>

#include "pdc/pdc_log.h"
#include "qcril-common/utilities/qcril_memory_management.h"
#include "qcril-common/utilities/retry.h"

pdc_global_info g_pdc_info;

namespace {

constexpr int connect_tries = 20;
constexpr std::chrono::seconds after_failed_try{5};
constexpr std::uint32_t connect_timeout_ms = 4;

/// Used by the main thread. The library's threads only read `service`, which is set before they
/// start.
struct pdc_client {
  qmi_idl_service_object_type service = nullptr;
  qmi_client_type handle = nullptr;
  qmi_client_os_params os_params{};
};
pdc_client g_pdc_client;

struct indication_row {
  unsigned int msg_id;
  pdc_indication_handler handle;
};

constexpr indication_row indications[] = {
    {pdc_get_selected_config_v01, qmi_pdc_get_selected_config_ind_hdlr},
    {pdc_set_selected_config_v01, qmi_pdc_select_config_ind_hdlr},
    {pdc_list_configs_v01, qmi_pdc_list_configs_ind_hdlr},
    {pdc_delete_config_v01, qmi_pdc_delete_config_ind_hdlr},
    {pdc_load_config_v01, qmi_pdc_load_config_ind_hdlr},
    {pdc_activate_config_v01, qmi_pdc_activate_config_ind_hdlr},
    {pdc_get_config_info_v01, qmi_pdc_get_config_info_ind_hdlr},
    {pdc_deactivate_config_v01, qmi_pdc_deactivate_config_ind_hdlr},
    {pdc_set_feature_v01, qmi_pdc_set_feature_ind_hdlr},
};

void clear(pdc_wait_slot& slot) {
  slot.is_waiting = 0;
  slot.is_done = 0;
  slot.result = 0;
}

}  // namespace

int pdc_init() {
  qmi_pdc_init_pdc_info();
  pdc_client& client = g_pdc_client;
  client.service = pdc_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION);
  for (int tried = 0; tried < connect_tries; ++tried) {
    const auto error =
        qmi_client_init_instance(client.service, QMI_CLIENT_INSTANCE_ANY, qmi_pdc_unsol_ind_cb,
                                 nullptr, &client.os_params, connect_timeout_ms, &client.handle);
    if (error == QMI_NO_ERR) {
      PDC_LOG_INFO("qmi_client_init succeeds for PDC");
      return 0;
    }
    PDC_LOG_ERROR("qmi_client_init returned failure (%d) for PDC, retry times %d", error, tried);
    pause_before_retry(tried, connect_tries, after_failed_try);
  }
  client.handle = nullptr;
  return -1;
}

void pdc_clean() {
  if (g_pdc_client.handle != nullptr) {
    PDC_LOG_INFO("Release client connection to PDC");
    qmi_client_release(g_pdc_client.handle);
  }
  g_pdc_client.handle = nullptr;
}

qmi_client_type pdc_client_handle() {
  return g_pdc_client.handle;
}

void qmi_pdc_init_pdc_info() {
  {
    pdc_global_info& info = g_pdc_info;
    const std::lock_guard hold(info.mutex);
    for (pdc_wait_slot* const slot : std::initializer_list<pdc_wait_slot*>{
             &info.list_configs, &info.load_config, &info.get_config_info, &info.deactivate_config,
             &info.delete_config, &info.get_selected_config, &info.select_config,
             &info.activate_config, &info.set_feature}) {
      clear(*slot);
    }
    info.list_configs.is_pdc_list_handling = 0;
    info.list_configs.config_list_holder = nullptr;
    info.list_configs.num_of_configs = nullptr;
    info.load_config.received_size = 0;
    info.load_config.remaining_size = 0;
    info.get_config_info.holder = nullptr;
    info.get_selected_config.holder = nullptr;
  }
  PDC_LOG_ERROR("pdc_info init done");
}

void qmi_pdc_unsol_ind_cb(qmi_client_type user_handle, unsigned int msg_id, void* ind_buf,
                          unsigned int ind_buf_len, void* /*ind_cb_data*/) {
  std::uint32_t size = 0;
  if (qmi_idl_get_message_c_struct_len(g_pdc_client.service, QMI_IDL_INDICATION,
                                       static_cast<std::uint16_t>(msg_id), &size) != QMI_NO_ERR) {
    PDC_LOG_ERROR("failed to get message c_struct len");
    return;
  }
  void* const payload = qcril_malloc_adv(size, __func__, __LINE__);
  if (payload == nullptr) {
    PDC_LOG_ERROR("failed to allocate memory for payload");
    return;
  }
  const auto error = qmi_client_message_decode(user_handle, QMI_IDL_INDICATION, msg_id, ind_buf,
                                               ind_buf_len, payload, size);
  if (error != QMI_NO_ERR) PDC_LOG_ERROR("failed to decode qmi message, msg_id: 0x%02x", msg_id);
  const auto* const row = std::ranges::find(indications, msg_id, &indication_row::msg_id);
  if (row != std::end(indications)) {
    // A count that is too large is stored, and the handler, which knows what it counts, refuses it.
    // After any other error there is no indication to handle, and the slot fails.
    const bool is_there = error == QMI_NO_ERR || error == QMI_IDL_ARRAY_TOO_BIG;
    row->handle(is_there ? payload : nullptr, size);
  }
  qcril_free_adv(payload);
}
