// The client of the modem's PDC service (its carrier configurations), and the wait slots through
// which indications reach the requesting threads.
//
// A requester locks the record's mutex, sets the slot's holders and clears `is_done`, sends its
// request, sets `is_waiting` and waits on `finished` until `is_done`; then it reads the result.
#pragma once

#include <condition_variable>
#include <cstdint>

#include "platform/qmi_client.h"
#include "platform/shared_mutex.h"
#include "services/pdc_v01.h"

/// The results of a slot.
enum pdc_result : std::int32_t {
  pdc_ok = 0,
  pdc_error = -1,
  pdc_frame_data_reset = -3,
  pdc_invalid_config_id = -4,
  pdc_no_memory = -5,
  pdc_not_found = -6,  ///< nothing is selected, or the modem has no configuration
};

/// An element of the caller's list, allocated with qcril_malloc_adv. The newest is the head.
struct pdc_config_element {
  std::uint32_t config_id_len;
  std::uint8_t config_id[pdc_config_id_max_v01];
  pdc_config_element* next;
};

struct pdc_selected_config {
  std::uint32_t active_id_len;
  std::uint8_t active_id[pdc_config_id_max_v01];
};

struct pdc_config_info {
  std::uint8_t description_valid;
  std::uint32_t description_len;
  std::uint8_t description[pdc_config_description_max_v01];
  std::uint8_t version_valid;
  std::uint32_t version;
  std::uint8_t size_valid;
  std::uint32_t size;  ///< bytes
};

struct pdc_wait_slot {
  std::condition_variable_any finished;
  std::uint32_t is_waiting = 0;  ///< a thread is waiting on `finished`
  std::uint32_t is_done = 0;     ///< stays set, for a thread that starts to wait too late
  std::int32_t result = 0;
};

struct pdc_list_configs_slot : pdc_wait_slot {
  std::uint32_t is_pdc_list_handling = 0;             ///< a list request is running
  pdc_config_element** config_list_holder = nullptr;  ///< the caller's head pointer
  std::uint32_t* num_of_configs = nullptr;            ///< the caller's counter
};

struct pdc_load_config_slot : pdc_wait_slot {
  std::uint32_t received_size = 0;  ///< bytes of the configuration that the modem has received
  std::uint32_t remaining_size = 0;
};

struct pdc_get_config_info_slot : pdc_wait_slot {
  pdc_config_info* holder = nullptr;
};

struct pdc_get_selected_config_slot : pdc_wait_slot {
  pdc_selected_config* holder = nullptr;
};

/// The mutex guards all members of all slots.
struct pdc_global_info {
  qtimutex::QtiSharedMutex mutex;
  pdc_list_configs_slot list_configs;
  pdc_load_config_slot load_config;
  pdc_get_config_info_slot get_config_info;
  pdc_wait_slot deactivate_config;
  pdc_wait_slot delete_config;
  pdc_get_selected_config_slot get_selected_config;
  pdc_wait_slot select_config;
  pdc_wait_slot activate_config;
  pdc_wait_slot set_feature;
};
extern pdc_global_info g_pdc_info;

/// Clears the slots and connects. Returns 0, or -1 after 20 failed attempts, 5 seconds apart.
int pdc_init();

/// Disconnects if connected.
void pdc_clean();

/// The connected client, or null.
[[nodiscard]] qmi_client_type pdc_client_handle();

void qmi_pdc_init_pdc_info();

/// The indication callback given to the QMI library.
void qmi_pdc_unsol_ind_cb(qmi_client_type user_handle, unsigned int msg_id, void* ind_buf,
                          unsigned int ind_buf_len, void* ind_cb_data);

// Each takes the decoded indication, fills its slot and wakes the waiting thread.
using pdc_indication_handler = void (*)(const void* ind_data_ptr, std::uint32_t ind_data_len);
void qmi_pdc_get_selected_config_ind_hdlr(const void* ind_data_ptr, std::uint32_t ind_data_len);
void qmi_pdc_select_config_ind_hdlr(const void* ind_data_ptr, std::uint32_t ind_data_len);
void qmi_pdc_list_configs_ind_hdlr(const void* ind_data_ptr, std::uint32_t ind_data_len);
void qmi_pdc_delete_config_ind_hdlr(const void* ind_data_ptr, std::uint32_t ind_data_len);
void qmi_pdc_load_config_ind_hdlr(const void* ind_data_ptr, std::uint32_t ind_data_len);
void qmi_pdc_activate_config_ind_hdlr(const void* ind_data_ptr, std::uint32_t ind_data_len);
void qmi_pdc_get_config_info_ind_hdlr(const void* ind_data_ptr, std::uint32_t ind_data_len);
void qmi_pdc_deactivate_config_ind_hdlr(const void* ind_data_ptr, std::uint32_t ind_data_len);
void qmi_pdc_set_feature_ind_hdlr(const void* ind_data_ptr, std::uint32_t ind_data_len);

/// Stands where the next part of a list would be requested. Only prints: no requests are sent here.
void norvel_qcril_setup_timed_callback(int instance, int modem, void (*callback)(void*),
                                       std::uint32_t timeout_ms, std::uint32_t* id);
