// UIM, the standard service of cards. Slots are numbered from 1. They are logical ones, except in
// slot status, which shows the physical ones, and in switch slot, which maps one to the other.
#pragma once

#include "services/uim_v01.h"
#include "simulator/modem/uicc_slots.h"
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
[[nodiscard]] reply read_card_file(const request& asked);
[[nodiscard]] reply read_card_record(const request& asked);
[[nodiscard]] reply get_card_file_attributes(const request& asked);
[[nodiscard]] reply register_card_events(const request& asked);

[[nodiscard]] protocol::qmi::error error_of(card_error what);

/// Adds card and slot status, for the clients that have asked for them.
void indicate_cards(modem& state, reply& out);

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

[[nodiscard]] std::span<const message_row> uim_messages();

}  // namespace sim
