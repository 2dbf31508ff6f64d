#include "services/pdc_v01.h"

#include "services/service_rows.h"

namespace {

/// The longest message: a load request with a full frame.
constexpr std::uint16_t max_message = 32920;

enum : std::uint8_t { config_type_index, load_type_index };

constexpr std::uint8_t config_layout[] = {
    0x02, 0x00,                    // u32 type
    0x50, 0x08, 0x7C, 0x04, 0x20,  // id: u8 count, at most 124 bytes
};
constexpr std::uint8_t load_layout[] = {
    0x02, 0x00,                          // u32 type
    0x50, 0x08, 0x7C, 0x04,              // id
    0x02, 0x84,                          // u32 total size
    0x70, 0x8C, 0x00, 0x80, 0x04, 0x20,  // frame: u16 count, at most 32768 bytes
};
constexpr qmi_idl_type_table_entry types[] = {
    {sizeof(pdc_config_v01), config_layout},
    {offsetof(pdc_load_config_req_v01, ind_token_valid), load_layout},
};

constexpr std::uint8_t register_req[] = {
    0x41, 0x10, 0x00, 0x01,  // 0x10, optional: u8 enable reporting
    0xC1, 0x11, 0x00, 0x03,  // 0x11, optional, last: u8 enable refresh
};
constexpr std::uint8_t config_type_req[] = {
    0x01, 0x02, 0x00,        // 0x01: u32 type
    0xC4, 0x10, 0x02, 0x08,  // 0x10, optional, last: u32 token
};
constexpr std::uint8_t config_req[] = {
    0x01, 0x07, 0x00, config_type_index,
    0x00,                    // 0x01: type and id
    0xC4, 0x10, 0x02, 0x88,  // 0x10, optional, last: u32 token
};
constexpr std::uint8_t list_req[] = {
    0x44, 0x10, 0x02, 0x04,  // 0x10, optional: u32 token
    0xC4, 0x11, 0x02, 0x0C,  // 0x11, optional, last: u32 type
};
constexpr std::uint8_t delete_req[] = {
    0x01, 0x02, 0x00,                    // 0x01: u32 type
    0x44, 0x10, 0x02, 0x08,              // 0x10, optional: u32 token
    0xC8, 0x11, 0x50, 0x14, 0x7C, 0x04,  // 0x11, optional, last: id
};
constexpr std::uint8_t load_req[] = {
    0x01, 0x07, 0x00, load_type_index,
    0x00,  // 0x01: type, id, total size, frame
    0xC4, 0x10, 0x82, 0x90,
    0x80,  // 0x10, optional, last: u32 token
};
constexpr std::uint8_t set_feature_req[] = {
    0xC4, 0x10, 0x02, 0x04,  // 0x10, optional, last: u32 token
};

constexpr std::uint8_t standard_resp[] = {
    0x82, 0x07, 0x00, 0x00, 0x01,  // 0x02, last: standard response
};

constexpr std::uint8_t change_ind[] = {
    0x81, 0x07, 0x00, config_type_index, 0x00,  // 0x01, last: type and id
};
constexpr std::uint8_t refresh_ind[] = {
    0x01, 0x02, 0x00,        // 0x01: u32 event
    0x44, 0x10, 0x02, 0x08,  // 0x10, optional: u32 subscription
    0xC4, 0x11, 0x02, 0x10,  // 0x11, optional, last: u32 slot
};
constexpr std::uint8_t result_ind[] = {
    0x01, 0x05, 0x00,        // 0x01: u16 error
    0xC4, 0x10, 0x02, 0x08,  // 0x10, optional, last: u32 token
};
constexpr std::uint8_t get_selected_ind[] = {
    0x01, 0x05, 0x00,                    // 0x01: u16 error
    0x44, 0x10, 0x02, 0x08,              // 0x10, optional: u32 token
    0x48, 0x11, 0x50, 0x14, 0x7C, 0x04,  // 0x11, optional: active id
    0xC8, 0x12, 0x50, 0x98, 0x7C, 0x04,  // 0x12, optional, last: pending id
};
constexpr std::uint8_t list_ind[] = {
    0x01, 0x05, 0x00,                                             // 0x01: u16 error
    0x44, 0x10, 0x02, 0x08,                                       // 0x10, optional: u32 token
    0x48, 0x11, 0x57, 0x14, 0x19, 0x04, config_type_index, 0x00,  // 0x11, optional: at most 25
    0xC1, 0xE0, 0x80, 0xF9, 0x0C,  // 0xE0, optional, last: u8 more available
};
constexpr std::uint8_t load_ind[] = {
    0x01, 0x05, 0x00,        // 0x01: u16 error
    0x44, 0x10, 0x02, 0x08,  // 0x10, optional: u32 token
    0x44, 0x11, 0x02, 0x10,  // 0x11, optional: u32 received
    0x44, 0x12, 0x02, 0x18,  // 0x12, optional: u32 remaining
    0xC1, 0x13, 0x00, 0x1D,  // 0x13, optional, last: u8 frame data reset
};
constexpr std::uint8_t get_info_ind[] = {
    0x01, 0x05, 0x00,                    // 0x01: u16 error
    0x44, 0x10, 0x02, 0x08,              // 0x10, optional: u32 token
    0x44, 0x11, 0x02, 0x10,              // 0x11, optional: u32 total size
    0x48, 0x12, 0x50, 0x1C, 0xFF, 0x04,  // 0x12, optional: description
    0xC1, 0x13, 0x82, 0x1C, 0x01,        // 0x13, optional, last: u32 version
};

enum : std::uint16_t {
  register_req_index,
  config_type_req_index,
  config_req_index,
  list_req_index,
  delete_req_index,
  load_req_index,
  set_feature_req_index,
  resp_index,
  change_ind_index,
  refresh_ind_index,
  result_ind_index,
  get_selected_ind_index,
  list_ind_index,
  load_ind_index,
  get_info_ind_index,
  empty_index,
};

constexpr qmi_idl_message_table_entry messages[] = {
    {sizeof(pdc_register_req_v01), register_req},
    {sizeof(pdc_config_type_req_v01), config_type_req},
    {sizeof(pdc_config_req_v01), config_req},
    {sizeof(pdc_list_configs_req_v01), list_req},
    {sizeof(pdc_delete_config_req_v01), delete_req},
    {sizeof(pdc_load_config_req_v01), load_req},
    {sizeof(pdc_set_feature_req_v01), set_feature_req},
    {sizeof(pdc_resp_v01), standard_resp},
    {sizeof(pdc_config_change_ind_v01), change_ind},
    {sizeof(pdc_refresh_ind_v01), refresh_ind},
    {sizeof(pdc_result_ind_v01), result_ind},
    {sizeof(pdc_get_selected_config_ind_v01), get_selected_ind},
    {sizeof(pdc_list_configs_ind_v01), list_ind},
    {sizeof(pdc_load_config_ind_v01), load_ind},
    {sizeof(pdc_get_config_info_ind_v01), get_info_ind},
    {0, nullptr},
};

constexpr services::type_table table(types, messages);

constexpr qmi_idl_service_message_table_entry used_requests[] = {
    {pdc_register_v01, register_req_index, 8},
    {pdc_get_selected_config_v01, config_type_req_index, 14},
    {pdc_set_selected_config_v01, config_req_index, 139},
    {pdc_list_configs_v01, list_req_index, 14},
    {pdc_delete_config_v01, delete_req_index, 142},
    {pdc_load_config_v01, load_req_index, max_message},
    {pdc_activate_config_v01, config_type_req_index, 14},
    {pdc_get_config_info_v01, config_req_index, 139},
    {pdc_deactivate_config_v01, config_type_req_index, 14},
    {pdc_set_feature_v01, set_feature_req_index, 7},
};
/// Includes the token that some responses repeat.
constexpr std::uint16_t max_resp = 14;
constexpr qmi_idl_service_message_table_entry used_responses[] = {
    {pdc_register_v01, resp_index, max_resp},
    {pdc_get_selected_config_v01, resp_index, max_resp},
    {pdc_set_selected_config_v01, resp_index, max_resp},
    {pdc_list_configs_v01, resp_index, max_resp},
    {pdc_delete_config_v01, resp_index, max_resp},
    {pdc_load_config_v01, resp_index, max_resp},
    {pdc_activate_config_v01, resp_index, max_resp},
    {pdc_get_config_info_v01, resp_index, max_resp},
    {pdc_deactivate_config_v01, resp_index, max_resp},
    {pdc_set_feature_v01, resp_index, max_resp},
};
constexpr qmi_idl_service_message_table_entry used_indications[] = {
    {pdc_config_change_v01, change_ind_index, 132},
    {pdc_get_selected_config_v01, get_selected_ind_index, 268},
    {pdc_set_selected_config_v01, result_ind_index, 12},
    {pdc_list_configs_v01, list_ind_index, 3245},
    {pdc_delete_config_v01, result_ind_index, 12},
    {pdc_load_config_v01, load_ind_index, 30},
    {pdc_activate_config_v01, result_ind_index, 12},
    {pdc_get_config_info_v01, get_info_ind_index, 285},
    {pdc_deactivate_config_v01, result_ind_index, 12},
    {pdc_set_feature_v01, result_ind_index, 12},
    {pdc_refresh_v01, refresh_ind_index, 21},
};

constexpr auto requests = services::with_reserved<20>(used_requests, empty_index);
constexpr auto responses = services::with_reserved<20>(used_responses, empty_index);
constexpr auto indications = services::with_reserved<18>(used_indications, empty_index);

constexpr qmi_idl_service_object service_object = services::make_object(
    pdc_service_id_v01, max_message,
    {.requests = requests, .responses = responses, .indications = indications}, table);

}  // namespace

qmi_idl_service_object_type pdc_get_service_object_internal_v01(std::int32_t idl_major,
                                                                std::int32_t idl_minor,
                                                                std::int32_t library_version) {
  return services::if_version(service_object, idl_major, idl_minor, library_version);
}
