// PDC, the standard service of carrier configurations. A request gets a standard response at once;
// the outcome follows in an indication with the same message id: a QMI error code, and the
// token by which the requester knows it.
#pragma once

#include "services/pdc_v01.h"
#include "simulator/service.h"

namespace sim {

[[nodiscard]] reply register_for_configs(const request& asked);
[[nodiscard]] reply get_selected_config(const request& asked);
[[nodiscard]] reply set_selected_config(const request& asked);
[[nodiscard]] reply list_configs(const request& asked);
[[nodiscard]] reply delete_config(const request& asked);
[[nodiscard]] reply load_config(const request& asked);
[[nodiscard]] reply activate_config(const request& asked);
[[nodiscard]] reply get_config_info(const request& asked);
[[nodiscard]] reply get_config_limits(const request& asked);
[[nodiscard]] reply deactivate_config(const request& asked);
[[nodiscard]] reply set_config_feature(const request& asked);

inline constexpr tlv_row pdc_register_request_tlvs[] = {{0x10, "reporting"}, {0x11, "refresh"}};
inline constexpr tlv_row pdc_type_request_tlvs[] = {{0x01, "type"}, {0x10, "token"}};
inline constexpr tlv_row pdc_config_request_tlvs[] = {{0x01, "type, id", shown_as::bytes},
                                                      {0x10, "token"}};
inline constexpr tlv_row pdc_list_request_tlvs[] = {{0x10, "token"}, {0x11, "type"}};
inline constexpr tlv_row pdc_delete_request_tlvs[] = {
    {0x01, "type"}, {0x10, "token"}, {0x11, "id", shown_as::bytes}};
inline constexpr tlv_row pdc_load_request_tlvs[] = {{0x01, "type, id, chunk", shown_as::bytes},
                                                    {0x10, "token"}};
inline constexpr tlv_row pdc_response_tlvs[] = {{0x02, "standard response"}, {0x10, "token"}};
inline constexpr tlv_row pdc_limits_response_tlvs[] = {
    {0x02, "standard response"}, {0x10, "token"}, {0x11, "most bytes"}, {0x12, "bytes in use"}};
inline constexpr tlv_row pdc_result_tlvs[] = {{0x01, "error"}, {0x10, "token"}};
inline constexpr tlv_row pdc_selected_tlvs[] = {{0x01, "error"},
                                                {0x10, "token"},
                                                {0x11, "active id", shown_as::bytes},
                                                {0x12, "pending id", shown_as::bytes}};
inline constexpr tlv_row pdc_list_tlvs[] = {
    {0x01, "error"}, {0x10, "token"}, {0x11, "configurations", shown_as::bytes}, {0xE0, "more"}};
inline constexpr tlv_row pdc_load_tlvs[] = {{0x01, "error"},
                                            {0x10, "token"},
                                            {0x11, "bytes so far"},
                                            {0x12, "bytes to come"},
                                            {0x13, "starts over"}};
inline constexpr tlv_row pdc_info_tlvs[] = {{0x01, "error"},
                                            {0x10, "token"},
                                            {0x11, "size"},
                                            {0x12, "description", shown_as::bytes},
                                            {0x13, "version"}};
inline constexpr tlv_row pdc_change_tlvs[] = {{0x01, "type, id", shown_as::bytes}};
inline constexpr tlv_row pdc_refresh_tlvs[] = {{0x01, "event"}};

constexpr message_row pdc_message(std::uint16_t id, const char* name, message_handler answer,
                                  std::span<const tlv_row> request_tlvs,
                                  std::span<const tlv_row> indication_tlvs) {
  return {.id = id,
          .name = name,
          .answer = answer,
          .request_tlvs = request_tlvs,
          .response_tlvs = pdc_response_tlvs,
          .indication_tlvs = indication_tlvs};
}

inline constexpr message_row pdc_messages[] = {
    pdc_message(pdc_register_v01, "register", register_for_configs, pdc_register_request_tlvs, {}),
    pdc_message(pdc_config_change_v01, "config change", nullptr, {}, pdc_change_tlvs),
    pdc_message(pdc_get_selected_config_v01, "get selected config", get_selected_config,
                pdc_type_request_tlvs, pdc_selected_tlvs),
    pdc_message(pdc_set_selected_config_v01, "set selected config", set_selected_config,
                pdc_config_request_tlvs, pdc_result_tlvs),
    pdc_message(pdc_list_configs_v01, "list configs", list_configs, pdc_list_request_tlvs,
                pdc_list_tlvs),
    pdc_message(pdc_delete_config_v01, "delete config", delete_config, pdc_delete_request_tlvs,
                pdc_result_tlvs),
    pdc_message(pdc_load_config_v01, "load config", load_config, pdc_load_request_tlvs,
                pdc_load_tlvs),
    pdc_message(pdc_activate_config_v01, "activate config", activate_config, pdc_type_request_tlvs,
                pdc_result_tlvs),
    pdc_message(pdc_get_config_info_v01, "get config info", get_config_info,
                pdc_config_request_tlvs, pdc_info_tlvs),
    {pdc_get_config_limits_v01, "get config limits", get_config_limits, pdc_type_request_tlvs,
     pdc_limits_response_tlvs},
    pdc_message(pdc_deactivate_config_v01, "deactivate config", deactivate_config,
                pdc_type_request_tlvs, pdc_result_tlvs),
    pdc_message(pdc_set_feature_v01, "set feature", set_config_feature, {}, pdc_result_tlvs),
    pdc_message(pdc_refresh_v01, "refresh", nullptr, {}, pdc_refresh_tlvs),
};

}  // namespace sim
