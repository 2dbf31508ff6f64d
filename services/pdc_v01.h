// The standard PDC service: the carrier configurations that the modem stores. Every request gets a
// standard response; its outcome follows in an indication with the same message id.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/qmi_idl.h"

constexpr std::uint32_t pdc_service_id_v01 = 0x24;

constexpr std::uint16_t pdc_register_v01 = 0x0020;
constexpr std::uint16_t pdc_config_change_v01 = 0x0021;
constexpr std::uint16_t pdc_get_selected_config_v01 = 0x0022;
constexpr std::uint16_t pdc_set_selected_config_v01 = 0x0023;
constexpr std::uint16_t pdc_list_configs_v01 = 0x0024;
constexpr std::uint16_t pdc_delete_config_v01 = 0x0025;
constexpr std::uint16_t pdc_load_config_v01 = 0x0026;
constexpr std::uint16_t pdc_activate_config_v01 = 0x0027;
constexpr std::uint16_t pdc_get_config_info_v01 = 0x0028;
constexpr std::uint16_t pdc_get_config_limits_v01 = 0x0029;  ///< the tool does not send it
constexpr std::uint16_t pdc_deactivate_config_v01 = 0x002B;
constexpr std::uint16_t pdc_set_feature_v01 = 0x002E;
constexpr std::uint16_t pdc_refresh_v01 = 0x002F;

constexpr std::uint32_t pdc_config_id_max_v01 = 124;
constexpr std::uint32_t pdc_config_list_max_v01 = 25;
constexpr std::uint32_t pdc_config_frame_max_v01 = 32768;
constexpr std::uint32_t pdc_config_description_max_v01 = 255;

enum pdc_config_type_v01 : std::uint32_t {
  PDC_CONFIG_TYPE_PLATFORM_V01 = 0,
  PDC_CONFIG_TYPE_SOFTWARE_V01 = 1,
};

/// Identifies a configuration: its type, and its id within that type.
struct pdc_config_v01 {
  std::uint32_t config_type;  ///< pdc_config_type_v01
  std::uint32_t config_id_len;
  std::uint8_t config_id[pdc_config_id_max_v01];
};
static_assert(sizeof(pdc_config_v01) == 132);

// The requester chooses `ind_token` freely; the indication repeats it.

struct pdc_register_req_v01 {
  std::uint8_t enable_reporting_valid;
  std::uint8_t enable_reporting;
  std::uint8_t enable_refresh_valid;
  std::uint8_t enable_refresh;
};

/// Get selected, activate and deactivate.
struct pdc_config_type_req_v01 {
  std::uint32_t config_type;
  std::uint8_t ind_token_valid;
  std::uint32_t ind_token;
};
static_assert(sizeof(pdc_config_type_req_v01) == 12);

/// Set selected and get info.
struct pdc_config_req_v01 {
  pdc_config_v01 config;
  std::uint8_t ind_token_valid;
  std::uint32_t ind_token;
};
static_assert(sizeof(pdc_config_req_v01) == 140);

struct pdc_list_configs_req_v01 {
  std::uint8_t ind_token_valid;
  std::uint32_t ind_token;
  std::uint8_t config_type_valid;
  std::uint32_t config_type;
};
static_assert(sizeof(pdc_list_configs_req_v01) == 16);

struct pdc_delete_config_req_v01 {
  std::uint32_t config_type;
  std::uint8_t ind_token_valid;
  std::uint32_t ind_token;
  std::uint8_t config_id_valid;
  std::uint32_t config_id_len;
  std::uint8_t config_id[pdc_config_id_max_v01];
};
static_assert(sizeof(pdc_delete_config_req_v01) == 144);

struct pdc_load_config_req_v01 {
  pdc_config_v01 config;
  std::uint32_t total_size;  ///< bytes of the whole configuration
  std::uint32_t config_frame_len;
  std::uint8_t config_frame[pdc_config_frame_max_v01];  ///< the next bytes of it
  std::uint8_t ind_token_valid;
  std::uint32_t ind_token;
};
static_assert(sizeof(pdc_load_config_req_v01) == 32916);
static_assert(offsetof(pdc_load_config_req_v01, config_frame) == 140);
static_assert(offsetof(pdc_load_config_req_v01, ind_token_valid) == 32908);

struct pdc_set_feature_req_v01 {
  std::uint8_t ind_token_valid;
  std::uint32_t ind_token;
};

struct pdc_resp_v01 {
  qmi_response_type_v01 resp;
};

/// Sent to registered clients: the configuration that is active now.
struct pdc_config_change_ind_v01 {
  pdc_config_v01 config;
};

struct pdc_refresh_ind_v01 {
  std::uint32_t event;  ///< 0 start, 1 complete, 2 the client should refresh
  std::uint8_t subscription_valid;
  std::uint32_t subscription;
  std::uint8_t slot_valid;
  std::uint32_t slot;
};
static_assert(sizeof(pdc_refresh_ind_v01) == 20);

// In all other indications `error` is a QMI error code, 0 for success.

/// Set selected, delete, activate, deactivate and set feature.
struct pdc_result_ind_v01 {
  std::int32_t error;
  std::uint8_t ind_token_valid;
  std::uint32_t ind_token;
};
static_assert(sizeof(pdc_result_ind_v01) == 12);

struct pdc_get_selected_config_ind_v01 {
  std::int32_t error;
  std::uint8_t ind_token_valid;
  std::uint32_t ind_token;
  std::uint8_t active_id_valid;
  std::uint32_t active_id_len;
  std::uint8_t active_id[pdc_config_id_max_v01];
  std::uint8_t pending_id_valid;
  std::uint32_t pending_id_len;
  std::uint8_t pending_id[pdc_config_id_max_v01];
};
static_assert(sizeof(pdc_get_selected_config_ind_v01) == 276);
static_assert(offsetof(pdc_get_selected_config_ind_v01, active_id) == 20);
static_assert(offsetof(pdc_get_selected_config_ind_v01, pending_id) == 152);

struct pdc_list_configs_ind_v01 {
  std::int32_t error;
  std::uint8_t ind_token_valid;
  std::uint32_t ind_token;
  std::uint8_t config_list_valid;
  std::uint32_t config_list_len;
  pdc_config_v01 config_list[pdc_config_list_max_v01];
  std::uint8_t more_available_valid;
  std::uint8_t more_available;  ///< not 0: repeating the request returns the next part
};
static_assert(sizeof(pdc_list_configs_ind_v01) == 3324);
static_assert(offsetof(pdc_list_configs_ind_v01, config_list) == 20);
static_assert(offsetof(pdc_list_configs_ind_v01, more_available_valid) == 3320);

struct pdc_load_config_ind_v01 {
  std::int32_t error;
  std::uint8_t ind_token_valid;
  std::uint32_t ind_token;
  std::uint8_t received_config_size_valid;
  std::uint32_t received_config_size;  ///< bytes received so far
  std::uint8_t remaining_config_size_valid;
  std::uint32_t remaining_config_size;
  std::uint8_t frame_data_reset_valid;  ///< the bytes received so far were discarded
  std::uint8_t frame_data_reset;
};
static_assert(sizeof(pdc_load_config_ind_v01) == 32);

struct pdc_get_config_info_ind_v01 {
  std::int32_t error;
  std::uint8_t ind_token_valid;
  std::uint32_t ind_token;
  std::uint8_t config_size_valid;
  std::uint32_t config_size;  ///< bytes
  std::uint8_t config_desc_valid;
  std::uint32_t config_desc_len;
  std::uint8_t config_desc[pdc_config_description_max_v01];  ///< text, not terminated
  std::uint8_t config_version_valid;
  std::uint32_t config_version;
};
static_assert(sizeof(pdc_get_config_info_ind_v01) == 288);
static_assert(offsetof(pdc_get_config_info_ind_v01, config_desc) == 28);
static_assert(offsetof(pdc_get_config_info_ind_v01, config_version_valid) == 283);
static_assert(offsetof(pdc_get_config_info_ind_v01, config_version) == 284);

/// Null when a number differs from those the tables were made for.
qmi_idl_service_object_type pdc_get_service_object_internal_v01(std::int32_t idl_major,
                                                                std::int32_t idl_minor,
                                                                std::int32_t library_version);
