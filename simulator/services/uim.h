// UIM, the standard service of cards. Slots are numbered from 1. They are logical ones, except in
// slot status, which shows the physical ones, and in switch slot, which maps one to the other.
#pragma once

#include "services/uim_v01.h"
#include "simulator/service.h"

namespace sim {

[[nodiscard]] reply get_card_status(const request& asked);
[[nodiscard]] reply get_slot_status(const request& asked);
[[nodiscard]] reply power_off_card(const request& asked);
[[nodiscard]] reply power_on_card(const request& asked);
[[nodiscard]] reply switch_card_slot(const request& asked);
[[nodiscard]] reply get_card_eid(const request& asked);
[[nodiscard]] reply send_card_apdu(const request& asked);
[[nodiscard]] reply open_card_channel(const request& asked);
[[nodiscard]] reply use_card_channel(const request& asked);

inline constexpr tlv_row uim_result_tlvs[] = {{0x02, "standard response"}};
inline constexpr tlv_row uim_slot_tlvs[] = {{0x01, "slot"}};
inline constexpr tlv_row uim_card_status_request_tlvs[] = {{0x10, "extended status"}};
inline constexpr tlv_row uim_card_status_tlvs[] = {{0x02, "standard response"},
                                                   {0x10, "card status", shown_as::bytes},
                                                   {0x13, "extended card status", shown_as::bytes}};
inline constexpr tlv_row uim_power_on_tlvs[] = {
    {0x01, "slot"}, {0x10, "ignore hot-swap switch"}, {0x11, "card mode"}};
inline constexpr tlv_row uim_send_apdu_request_tlvs[] = {
    {0x01, "slot"}, {0x02, "APDU", shown_as::bytes}, {0x10, "channel"}, {0x11, "procedure bytes"}};
inline constexpr tlv_row uim_send_apdu_tlvs[] = {{0x02, "standard response"},
                                                 {0x10, "APDU", shown_as::bytes}};
inline constexpr tlv_row uim_open_channel_request_tlvs[] = {
    {0x01, "slot"}, {0x10, "AID", shown_as::bytes}, {0x11, "file control information"}};
inline constexpr tlv_row uim_channel_request_tlvs[] = {{0x01, "slot"},
                                                       {0x10, "AID", shown_as::bytes},
                                                       {0x11, "channel to close"},
                                                       {0x12, "file control information"},
                                                       {0x13, "terminate application"}};
inline constexpr tlv_row uim_channel_tlvs[] = {{0x02, "standard response"},
                                               {0x10, "channel"},
                                               {0x11, "card result", shown_as::bytes},
                                               {0x12, "select response", shown_as::bytes}};
inline constexpr tlv_row uim_switch_slot_tlvs[] = {{0x01, "logical slot"}, {0x02, "physical slot"}};
inline constexpr tlv_row uim_slot_status_tlvs[] = {{0x02, "standard response"},
                                                   {0x10, "slots", shown_as::bytes},
                                                   {0x11, "cards", shown_as::bytes},
                                                   {0x12, "EIDs", shown_as::bytes}};
inline constexpr tlv_row uim_eid_tlvs[] = {{0x02, "standard response"},
                                           {0x10, "EID", shown_as::bytes}};

inline constexpr message_row uim_messages[] = {
    {uim_get_card_status_v01, "get card status", get_card_status, uim_card_status_request_tlvs,
     uim_card_status_tlvs},
    {uim_power_down_v01, "power off", power_off_card, uim_slot_tlvs, uim_result_tlvs},
    {uim_power_up_v01, "power on", power_on_card, uim_power_on_tlvs, uim_result_tlvs},
    {uim_send_apdu_v01, "send APDU", send_card_apdu, uim_send_apdu_request_tlvs,
     uim_send_apdu_tlvs},
    {uim_logical_channel_v01, "logical channel", use_card_channel, uim_channel_request_tlvs,
     uim_channel_tlvs},
    {uim_open_logical_channel_v01, "open logical channel", open_card_channel,
     uim_open_channel_request_tlvs, uim_channel_tlvs},
    {uim_switch_slot_v01, "switch slot", switch_card_slot, uim_switch_slot_tlvs, uim_result_tlvs},
    {uim_get_slot_status_v01, "get slot status", get_slot_status, {}, uim_slot_status_tlvs},
    {uim_get_eid_v01, "get EID", get_card_eid, uim_slot_tlvs, uim_eid_tlvs},
};

}  // namespace sim
