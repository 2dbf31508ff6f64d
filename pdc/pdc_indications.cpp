// The handlers of PDC indications, which fill the wait slots.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <mutex>
#include <span>

#include "pdc/pdc_log.h"
#include "pdc/pdc_utils.h"
#include "qcril-common/utilities/checked.h"
#include "qcril-common/utilities/qcril_memory_management.h"
#include "qcril-common/utilities/quiet_notes.h"

namespace {

enum qmi_error : std::int32_t {
  qmi_error_no_memory = 2,
  qmi_error_invalid_id = 41,
};

using record_lock = std::lock_guard<qtimutex::QtiSharedMutex>;

/// The record's mutex must be locked.
void complete(pdc_wait_slot& slot, std::int32_t result) {
  slot.result = result;
  if (slot.is_waiting != 0) slot.finished.notify_one();
  slot.is_done = 1;
}

std::int32_t result_of_error(std::int32_t error) {
  if (error == 0) return pdc_ok;
  PDC_LOG_ERROR("QMI error, error code: %d", error);
  return pdc_error;
}

std::int32_t result_without_indication() {
  PDC_LOG_ERROR("NULL pointer for ind_data_ptr");
  return pdc_error;
}

/// For an indication that carries nothing but an error code.
void complete_plainly(pdc_wait_slot& slot, const void* ind_data_ptr) {
  const record_lock hold(g_pdc_info.mutex);
  const auto* const ind = static_cast<const pdc_result_ind_v01*>(ind_data_ptr);
  complete(slot, ind == nullptr ? result_without_indication() : result_of_error(ind->error));
}

std::int32_t load_config(pdc_load_config_slot& slot, const pdc_load_config_ind_v01* ind) {
  if (ind == nullptr) {
    PDC_LOG_ERROR("NULL pointer for ind_dat_ptr");  // sic
    return pdc_error;
  }
  switch (ind->error) {
    case 0:
      break;
    case qmi_error_no_memory:
      PDC_LOG_ERROR("no memory in modem EFS");
      return pdc_no_memory;
    case qmi_error_invalid_id:
      PDC_LOG_ERROR("Invalid config id, maybe already exists");
      return pdc_invalid_config_id;
    default:
      PDC_LOG_ERROR("load configuration error, code = %d", ind->error);
      return pdc_error;
  }
  if (ind->frame_data_reset_valid != 0) {
    PDC_LOG_ERROR("PDC frame data is reset");
    return pdc_frame_data_reset;
  }
  if (ind->remaining_config_size_valid != 0) slot.remaining_size = ind->remaining_config_size;
  if (ind->received_config_size_valid != 0) slot.received_size = ind->received_config_size;
  return pdc_ok;
}

std::int32_t get_selected(pdc_selected_config* holder, const pdc_get_selected_config_ind_v01* ind) {
  if (ind == nullptr) return result_without_indication();
  if (holder == nullptr) {
    PDC_LOG_ERROR("NULL pointer for get_sel_holder");
    return pdc_error;
  }
  if (ind->error != 0) return result_of_error(ind->error);
  // For an id that is too long only its length was decoded, and nothing after it.
  if (std::max(ind->active_id_len, ind->pending_id_len) > pdc_config_id_max_v01) return pdc_error;
  if (ind->active_id_valid == 0) {
    if (ind->pending_id_valid != 0) PDC_LOG_INFO("has pending configuration");
    return pdc_not_found;
  }
  holder->active_id_len = ind->active_id_len;
  std::copy_n(ind->active_id, ind->active_id_len, holder->active_id);
  return pdc_ok;
}

std::int32_t get_info(pdc_config_info* holder, const pdc_get_config_info_ind_v01* ind) {
  if (ind == nullptr) return result_without_indication();
  if (holder == nullptr) return pdc_error;
  if (ind->config_desc_valid != 0) {
    holder->description_len = ind->config_desc_len;
    std::ranges::copy(ind->config_desc, holder->description);
  }
  holder->description_valid = ind->config_desc_valid;
  if (ind->config_version_valid != 0) holder->version = ind->config_version;
  holder->version_valid = ind->config_version_valid;
  if (ind->config_size_valid != 0) holder->size = ind->config_size;
  holder->size_valid = ind->config_size_valid;
  return pdc_ok;
}

void push_element(pdc_config_element** list, const pdc_config_v01& config, std::uint32_t index) {
  auto* const element = static_cast<pdc_config_element*>(
      qcril_malloc_adv(sizeof(pdc_config_element), __func__, __LINE__));
  if (element == nullptr) {
    PDC_LOG_ERROR("Unable to allocate memory for the list element: %d", static_cast<int>(index));
    return;
  }
  element->config_id_len = config.config_id_len;
  std::copy_n(config.config_id, config.config_id_len, element->config_id);
  element->next = *list;
  *list = element;
}

/// The consequence of one part of the list.
struct list_step {
  std::int32_t result;
  bool is_complete = true;
};

list_step add_part(const pdc_list_configs_slot& slot, const pdc_list_configs_ind_v01& ind) {
  const auto count = static_cast<int>(ind.config_list_len);
  PDC_LOG_INFO("succeed to get config_list %d ", count);
  PDC_LOG_INFO("config_list_len %d, old num_of_configs %d", count,
               static_cast<int>(*slot.num_of_configs));
  *slot.num_of_configs = checked_add(*slot.num_of_configs, ind.config_list_len);
  if (slot.config_list_holder == nullptr) {
    PDC_LOG_ERROR("g_pdc_info.config_list_holder is null, quit");
    return {pdc_error};
  }
  PDC_LOG_INFO("new num_of_configs %d", static_cast<int>(*slot.num_of_configs));
  for (std::uint32_t i = 0; i < ind.config_list_len; ++i) {
    push_element(slot.config_list_holder, ind.config_list[i], i);
  }
  const bool is_complete =
      ind.more_available_valid == 0 || ind.more_available == 0 || ind.ind_token_valid == 0;
  PDC_LOG_INFO(
      "PDC_SUCCESS, more_available_valid %d, ind_token_valid %d, more_available %d, "
      "get_list_complete %d",
      ind.more_available_valid, ind.ind_token_valid, ind.more_available,
      static_cast<int>(is_complete));
  return {pdc_ok, is_complete};
}

/// If there are too many entries or an id is too long, only the count was decoded.
bool is_whole(const pdc_list_configs_ind_v01& ind) {
  if (ind.config_list_len > std::size(ind.config_list)) return false;
  return std::ranges::all_of(
      std::span(ind.config_list).first(ind.config_list_len),
      [](const pdc_config_v01& config) { return config.config_id_len <= pdc_config_id_max_v01; });
}

list_step list_configs(const pdc_list_configs_slot& slot, const pdc_list_configs_ind_v01& ind) {
  if (ind.error != 0) return {result_of_error(ind.error)};
  if (ind.config_list_valid == 0 || ind.config_list_len == 0) {
    PDC_LOG_ERROR("None MBN available in modem EFS");
    return {pdc_not_found};
  }
  if (is_whole(ind)) return add_part(slot, ind);
  PDC_LOG_ERROR(
      "PDC_ERROR, more_available_valid %d, ind_token_valid %d, more_available %d, "
      "config_list_len %d",
      ind.more_available_valid, ind.ind_token_valid, ind.more_available,
      static_cast<int>(ind.config_list_len));
  return {pdc_error};
}

/// False when more parts follow, so that the slot stays open.
bool list_is_over(const pdc_list_configs_ind_v01* ind) {
  pdc_list_configs_slot& slot = g_pdc_info.list_configs;
  const record_lock hold(g_pdc_info.mutex);
  if (ind == nullptr) {
    complete(slot, result_without_indication());
    return true;
  }
  if (slot.num_of_configs == nullptr) {
    PDC_LOG_ERROR("g_pdc_info.num_of_configs is null");
    complete(slot, pdc_error);
    return true;
  }
  if (slot.is_pdc_list_handling == 0) {
    PDC_LOG_ERROR("g_pdc_info.is_pdc_list_handling is not running, do nothing");
    slot.result = pdc_error;
    slot.is_done = 1;
    return true;
  }
  const list_step step = list_configs(slot, *ind);
  if (step.is_complete) complete(slot, step.result);
  return step.is_complete;
}

}  // namespace

void qmi_pdc_get_selected_config_ind_hdlr(const void* ind_data_ptr,
                                          std::uint32_t /*ind_data_len*/) {
  const record_lock hold(g_pdc_info.mutex);
  auto& slot = g_pdc_info.get_selected_config;
  complete(slot, get_selected(slot.holder,
                              static_cast<const pdc_get_selected_config_ind_v01*>(ind_data_ptr)));
}

void qmi_pdc_select_config_ind_hdlr(const void* ind_data_ptr, std::uint32_t /*ind_data_len*/) {
  complete_plainly(g_pdc_info.select_config, ind_data_ptr);
}

void qmi_pdc_list_configs_ind_hdlr(const void* ind_data_ptr, std::uint32_t ind_data_len) {
  // The low half is enough to tell buffers apart.
  const auto low_bits = static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(ind_data_ptr));
  PDC_LOG_INFO("qmi_pdc_list_configs_ind_hdlr, ind_data_ptr = 0x%x, ind_data_len = %d", low_bits,
               static_cast<int>(ind_data_len));
  if (list_is_over(static_cast<const pdc_list_configs_ind_v01*>(ind_data_ptr))) return;
  std::uint32_t id = 0;
  norvel_qcril_setup_timed_callback(0, 0, nullptr, 0, &id);
}

void qmi_pdc_delete_config_ind_hdlr(const void* ind_data_ptr, std::uint32_t /*ind_data_len*/) {
  complete_plainly(g_pdc_info.delete_config, ind_data_ptr);
}

void qmi_pdc_load_config_ind_hdlr(const void* ind_data_ptr, std::uint32_t /*ind_data_len*/) {
  const record_lock hold(g_pdc_info.mutex);
  auto& slot = g_pdc_info.load_config;
  complete(slot, load_config(slot, static_cast<const pdc_load_config_ind_v01*>(ind_data_ptr)));
}

void qmi_pdc_activate_config_ind_hdlr(const void* ind_data_ptr, std::uint32_t /*ind_data_len*/) {
  PDC_LOG_INFO("entering %s", __func__);
  complete_plainly(g_pdc_info.activate_config, ind_data_ptr);
}

void qmi_pdc_get_config_info_ind_hdlr(const void* ind_data_ptr, std::uint32_t /*ind_data_len*/) {
  const record_lock hold(g_pdc_info.mutex);
  auto& slot = g_pdc_info.get_config_info;
  complete(slot,
           get_info(slot.holder, static_cast<const pdc_get_config_info_ind_v01*>(ind_data_ptr)));
}

void qmi_pdc_deactivate_config_ind_hdlr(const void* ind_data_ptr, std::uint32_t /*ind_data_len*/) {
  complete_plainly(g_pdc_info.deactivate_config, ind_data_ptr);
}

void qmi_pdc_set_feature_ind_hdlr(const void* ind_data_ptr, std::uint32_t /*ind_data_len*/) {
  PDC_LOG_INFO("entering %s", __func__);
  complete_plainly(g_pdc_info.set_feature, ind_data_ptr);
}

void norvel_qcril_setup_timed_callback(int /*instance*/, int /*modem*/,
                                       void (* /*callback*/)(void*), std::uint32_t /*timeout_ms*/,
                                       std::uint32_t* /*id*/) {
  print_note("RIL[%s:%d]: setup_timed_callback test\n", __func__, __LINE__);
}
