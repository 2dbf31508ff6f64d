// The standard UIM service: card power and status, eUICC identifier, logical channels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/qmi_idl.h"

constexpr std::uint32_t uim_service_id_v01 = 0x0B;

enum uim_message_v01 : std::uint16_t {
  uim_get_card_status_v01 = 0x2F,
  uim_power_down_v01 = 0x30,
  uim_power_up_v01 = 0x31,
  uim_send_apdu_v01 = 0x3B,
  uim_logical_channel_v01 = 0x3F,
  uim_open_logical_channel_v01 = 0x42,
  uim_switch_slot_v01 = 0x46,      ///< the tool does not send it
  uim_get_slot_status_v01 = 0x47,  ///< the tool does not send it
  uim_ind_v01 = 0x61,
  uim_get_eid_v01 = 0x65,
};

constexpr std::size_t uim_max_cards_v01 = 5;
constexpr std::size_t uim_max_apps_v01 = 20;
constexpr std::size_t uim_max_aid_v01 = 32;
constexpr std::size_t uim_eid_size_v01 = 16;
constexpr std::size_t uim_max_apdu_v01 = 1024;
constexpr std::size_t uim_max_select_response_v01 = 255;

/// The response of messages that return nothing but a result.
struct uim_resp_v01 {
  qmi_response_type_v01 resp;
};

struct uim_power_down_req_v01 {
  std::int32_t slot;  ///< from 1
};
static_assert(sizeof(uim_power_down_req_v01) == 4);

struct uim_power_up_req_v01 {
  std::int32_t slot;
  std::uint8_t ignore_hotswap_switch_valid;
  std::uint8_t ignore_hotswap_switch;  ///< 1: power up even if no card is detected
  std::uint8_t mode_valid;
  std::int32_t mode;  ///< 0 telecom
};
static_assert(sizeof(uim_power_up_req_v01) == 12);

struct uim_get_eid_req_v01 {
  std::int32_t slot;
};
static_assert(sizeof(uim_get_eid_req_v01) == 4);

struct uim_get_eid_resp_v01 {
  qmi_response_type_v01 resp;
  std::uint8_t eid_valid;
  std::uint32_t eid_len;
  std::uint8_t eid[uim_eid_size_v01];  ///< in reading order
};
static_assert(sizeof(uim_get_eid_resp_v01) == 32);

struct uim_send_apdu_req_v01 {
  std::int32_t slot;
  std::uint32_t apdu_len;
  std::uint8_t apdu[uim_max_apdu_v01];
  std::uint8_t channel_id_valid;
  std::uint8_t channel_id;
  std::uint8_t procedure_bytes_valid;
  std::int32_t procedure_bytes;  ///< 1: only the final result
};
static_assert(sizeof(uim_send_apdu_req_v01) == 1040);

struct uim_send_apdu_resp_v01 {
  qmi_response_type_v01 resp;
  std::uint8_t apdu_valid;
  std::uint32_t apdu_len;
  std::uint8_t apdu[uim_max_apdu_v01];  ///< ends in the status words
};
static_assert(sizeof(uim_send_apdu_resp_v01) == 1040);

struct uim_open_logical_channel_req_v01 {
  std::int32_t slot;
  std::uint8_t aid_valid;
  std::uint32_t aid_len;
  std::uint8_t aid[uim_max_aid_v01];
  std::uint8_t file_control_information_valid;
  std::int32_t file_control_information;  ///< 1: FCP template
};
static_assert(sizeof(uim_open_logical_channel_req_v01) == 52);

/// Opens a channel to `aid`, or closes `channel_id`.
struct uim_logical_channel_req_v01 {
  std::int32_t slot;
  std::uint8_t aid_valid;
  std::uint32_t aid_len;
  std::uint8_t aid[uim_max_aid_v01];
  std::uint8_t channel_id_valid;
  std::uint8_t channel_id;
  std::uint8_t file_control_information_valid;
  std::int32_t file_control_information;
  std::uint8_t terminate_application_valid;
  std::uint8_t terminate_application;
};
static_assert(sizeof(uim_logical_channel_req_v01) == 56);

struct uim_card_result_v01 {
  std::uint8_t sw1;
  std::uint8_t sw2;
};

/// The response to opening and to closing a channel.
struct uim_logical_channel_resp_v01 {
  qmi_response_type_v01 resp;
  std::uint8_t channel_id_valid;
  std::uint8_t channel_id;
  std::uint8_t card_result_valid;
  uim_card_result_v01 card_result;
  std::uint8_t select_response_valid;
  std::uint32_t select_response_len;
  std::uint8_t select_response[uim_max_select_response_v01];
};
static_assert(sizeof(uim_logical_channel_resp_v01) == 276);
static_assert(offsetof(uim_logical_channel_resp_v01, card_result) == 11);

struct uim_get_card_status_req_v01 {
  std::uint8_t extended_card_status_valid;
  std::uint8_t extended_card_status;  ///< 1: requested
};
static_assert(sizeof(uim_get_card_status_req_v01) == 2);

struct uim_app_info_v01 {
  std::int32_t type;
  std::int32_t state;
  std::int32_t perso_state;
  std::int32_t perso_feature;
  std::uint8_t perso_retries;
  std::uint8_t perso_unblock_retries;
  std::uint32_t aid_len;
  std::uint8_t aid[uim_max_aid_v01];
  std::uint8_t univ_pin;
  std::int32_t pin1_state;
  std::uint8_t pin1_retries;
  std::uint8_t puk1_retries;
  std::int32_t pin2_state;
  std::uint8_t pin2_retries;
  std::uint8_t puk2_retries;
};
static_assert(sizeof(uim_app_info_v01) == 76);
static_assert(offsetof(uim_app_info_v01, univ_pin) == 56);

struct uim_card_info_v01 {
  std::int32_t card_state;  ///< 0 absent, 1 present, 2 error
  std::int32_t upin_state;
  std::uint8_t upin_retries;
  std::uint8_t upuk_retries;
  std::int32_t error_code;
  std::uint32_t app_info_len;
  uim_app_info_v01 app_info[uim_max_apps_v01];
};
static_assert(sizeof(uim_card_info_v01) == 1540);

/// Indices identify an application: number in the low byte, slot in the high byte, both from 0.
struct uim_card_status_v01 {
  std::uint16_t index_gw_primary;
  std::uint16_t index_1x_primary;
  std::uint16_t index_gw_secondary;
  std::uint16_t index_1x_secondary;
  std::uint32_t card_info_len;
  uim_card_info_v01 card_info[uim_max_cards_v01];
};
static_assert(sizeof(uim_card_status_v01) == 7712);

struct uim_extended_card_status_v01 {
  std::uint32_t index_gw_len;
  std::uint16_t index_gw[uim_max_cards_v01];
  std::uint32_t index_1x_len;
  std::uint16_t index_1x[uim_max_cards_v01];
  std::uint32_t card_info_len;
  uim_card_info_v01 card_info[uim_max_cards_v01];
};
static_assert(sizeof(uim_extended_card_status_v01) == 7736);
static_assert(offsetof(uim_extended_card_status_v01, card_info) == 36);

struct uim_get_card_status_resp_v01 {
  qmi_response_type_v01 resp;
  std::uint8_t card_status_valid;
  uim_card_status_v01 card_status;
  std::uint8_t extended_card_status_valid;
  uim_extended_card_status_v01 extended_card_status;
};
static_assert(sizeof(uim_get_card_status_resp_v01) == 15464);
static_assert(offsetof(uim_get_card_status_resp_v01, extended_card_status) == 7728);

struct uim_ind_msg_v01 {
  std::int32_t first;
  std::int32_t second;
  std::uint8_t third_valid;
  std::int32_t third;
};
static_assert(sizeof(uim_ind_msg_v01) == 16);

/// Null when a number differs from those the tables were made for.
qmi_idl_service_object_type uim_get_service_object_internal_v01(std::int32_t idl_major,
                                                                std::int32_t idl_minor,
                                                                std::int32_t library_version);
