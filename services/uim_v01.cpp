#include "services/uim_v01.h"

#include "services/service_rows.h"

namespace {

// Types of this service's own table.
constexpr std::uint8_t app_info_type = 0;
constexpr std::uint8_t card_info_type = 1;
constexpr std::uint8_t card_status_type = 2;
constexpr std::uint8_t extended_card_status_type = 3;
constexpr std::uint8_t card_result_type = 4;

// clang-format off
constexpr std::uint8_t app_info[] = {
    0x04, 0x00, 0x04, 0x04, 0x04, 0x08, 0x04, 0x0C,  // type, state, personalisation
    0x00, 0x10, 0x00, 0x11,
    0x50, 0x18, 0x20, 0x04,                          // AID
    0x00, 0x38,
    0x04, 0x3C, 0x00, 0x40, 0x00, 0x41,              // PIN 1
    0x04, 0x44, 0x00, 0x48, 0x00, 0x49,              // PIN 2
    0x20,
};
constexpr std::uint8_t card_info[] = {
    0x04, 0x00, 0x04, 0x04, 0x00, 0x08, 0x00, 0x09, 0x04, 0x0C,
    0x57, 0x14, 0x14, 0x04, app_info_type, 0x00,
    0x20,
};
constexpr std::uint8_t card_status[] = {
    0x01, 0x00, 0x01, 0x02, 0x01, 0x04, 0x01, 0x06,
    0x57, 0x0C, 0x05, 0x04, card_info_type, 0x00,
    0x20,
};
constexpr std::uint8_t extended_card_status[] = {
    0x51, 0x04, 0x05, 0x04, 0x51, 0x14, 0x05, 0x04,
    0x57, 0x24, 0x05, 0x04, card_info_type, 0x00,
    0x20,
};
constexpr std::uint8_t card_result[] = {0x00, 0x00, 0x00, 0x01, 0x20};

constexpr std::uint8_t slot_req[] = {0x81, 0x04, 0x00};       // 0x01, last: slot
constexpr std::uint8_t resp[] = {0x82, 0x07, 0x00, 0x00, 0x01};  // 0x02, last: standard response
constexpr std::uint8_t power_up_req[] = {
    0x01, 0x04, 0x00,
    0x41, 0x10, 0x00, 0x05,  // 0x10: ignore hot-swap switch
    0xC2, 0x11, 0x04, 0x08,  // 0x11: card mode
};
constexpr std::uint8_t get_eid_resp[] = {
    0x02, 0x07, 0x00, 0x00, 0x01,
    0xC8, 0x10, 0x50, 0x10, 0x10, 0x04,  // 0x10: EID
};
constexpr std::uint8_t send_apdu_req[] = {
    0x01, 0x04, 0x00,
    0x02, 0x70, 0x08, 0x00, 0x04, 0x04,  // 0x02: APDU
    0x41, 0x10, 0x80, 0x09, 0x04,        // 0x10: channel
    0xC2, 0x11, 0x84, 0x0C, 0x04,        // 0x11: procedure bytes
};
constexpr std::uint8_t send_apdu_resp[] = {
    0x02, 0x07, 0x00, 0x00, 0x01,
    0xC8, 0x10, 0x70, 0x10, 0x00, 0x04, 0x04,  // 0x10: APDU
};
constexpr std::uint8_t open_logical_channel_req[] = {
    0x01, 0x04, 0x00,
    0x48, 0x10, 0x50, 0x0C, 0x20, 0x04,  // 0x10: AID
    0xC4, 0x11, 0x04, 0x30,              // 0x11: file control information
};
constexpr std::uint8_t logical_channel_req[] = {
    0x01, 0x04, 0x00,
    0x48, 0x10, 0x50, 0x0C, 0x20, 0x04,  // 0x10: AID
    0x41, 0x11, 0x00, 0x2D,              // 0x11: channel
    0x42, 0x12, 0x04, 0x30,              // 0x12: file control information
    0xC1, 0x13, 0x00, 0x35,              // 0x13: terminate application
};
constexpr std::uint8_t logical_channel_resp[] = {
    0x02, 0x07, 0x00, 0x00, 0x01,
    0x41, 0x10, 0x00, 0x09,                          // 0x10: channel
    0x41, 0x11, 0x07, 0x0B, card_result_type, 0x00,  // 0x11: status words
    0xC7, 0x12, 0x50, 0x14, 0xFF, 0x04,              // 0x12: select response
};
constexpr std::uint8_t get_card_status_req[] = {0xC1, 0x10, 0x00, 0x01};
constexpr std::uint8_t get_card_status_resp[] = {
    0x02, 0x07, 0x00, 0x00, 0x01,
    0x44, 0x10, 0x07, 0x0C, card_status_type, 0x00,
    0xC4, 0x13, 0x87, 0x30, 0x1E, extended_card_status_type, 0x00,
};
constexpr std::uint8_t ind[] = {0x01, 0x02, 0x00, 0x02, 0x02, 0x04, 0xC4, 0x10, 0x02, 0x0C};
// clang-format on

constexpr qmi_idl_type_table_entry types[] = {
    {sizeof(uim_app_info_v01), app_info},
    {sizeof(uim_card_info_v01), card_info},
    {sizeof(uim_card_status_v01), card_status},
    {sizeof(uim_extended_card_status_v01), extended_card_status},
    {sizeof(uim_card_result_v01), card_result},
};

enum message : std::uint16_t {
  slot_request,
  plain_response,
  power_up_request,
  get_eid_response,
  send_apdu_request,
  send_apdu_response,
  open_logical_channel_request,
  logical_channel_request,
  logical_channel_response,
  get_card_status_request,
  get_card_status_response,
  indication,
};
constexpr qmi_idl_message_table_entry messages[] = {
    {sizeof(uim_power_down_req_v01), slot_req},
    {sizeof(uim_resp_v01), resp},
    {sizeof(uim_power_up_req_v01), power_up_req},
    {sizeof(uim_get_eid_resp_v01), get_eid_resp},
    {sizeof(uim_send_apdu_req_v01), send_apdu_req},
    {sizeof(uim_send_apdu_resp_v01), send_apdu_resp},
    {sizeof(uim_open_logical_channel_req_v01), open_logical_channel_req},
    {sizeof(uim_logical_channel_req_v01), logical_channel_req},
    {sizeof(uim_logical_channel_resp_v01), logical_channel_resp},
    {sizeof(uim_get_card_status_req_v01), get_card_status_req},
    {sizeof(uim_get_card_status_resp_v01), get_card_status_resp},
    {sizeof(uim_ind_msg_v01), ind},
};

constexpr services::type_table table(types, messages);

/// The longest message is a response with five cards of twenty applications, in both forms.
constexpr std::uint16_t max_message = 9305;

constexpr qmi_idl_service_message_table_entry requests[] = {
    {uim_get_card_status_v01, get_card_status_request, 4},
    {uim_power_down_v01, slot_request, 4},
    {uim_power_up_v01, power_up_request, 12},
    {uim_send_apdu_v01, send_apdu_request, 1041},
    {uim_logical_channel_v01, logical_channel_request, 52},
    {uim_open_logical_channel_v01, open_logical_channel_request, 44},
    {uim_get_eid_v01, slot_request, 4},
};
constexpr qmi_idl_service_message_table_entry responses[] = {
    {uim_get_card_status_v01, get_card_status_response, max_message},
    {uim_power_down_v01, plain_response, 7},
    {uim_power_up_v01, plain_response, 7},
    {uim_send_apdu_v01, send_apdu_response, 1036},
    {uim_logical_channel_v01, logical_channel_response, 275},
    {uim_open_logical_channel_v01, logical_channel_response, 275},
    {uim_get_eid_v01, get_eid_response, 27},
};
constexpr qmi_idl_service_message_table_entry indications[] = {
    {uim_ind_v01, indication, 21},
};

constexpr qmi_idl_service_object service_object = services::make_object(
    uim_service_id_v01, max_message,
    {.requests = requests, .responses = responses, .indications = indications}, table);

}  // namespace

qmi_idl_service_object_type uim_get_service_object_internal_v01(std::int32_t idl_major,
                                                                std::int32_t idl_minor,
                                                                std::int32_t library_version) {
  return services::if_version(service_object, idl_major, idl_minor, library_version);
}
