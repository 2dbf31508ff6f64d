// Requests to the modem's UIM service. They share one client, opened by the first request, and
// released and reopened once the service was lost or three requests have failed. Not thread-safe.
//
// Unless stated otherwise a result is 0, the transport's error, or -1 when there was no client, no
// memory, or the card refused.
#pragma once

#include <array>
#include <cstdint>
#include <span>

constexpr std::size_t norvel_eid_size = 16;

struct norvel_uicc_power {
  std::int32_t power_up;  ///< 0: down
  std::int32_t slot;      ///< from 1
  std::int32_t ignore_hotswap;
};

/// Returns 0 also when the card refused the request.
int norvel_uim_request_uicc_power_ex(const norvel_uicc_power* params);

/// `eid` has room for norvel_eid_size bytes; it is left unchanged when there is no EID.
void norvel_uim_request_eid(std::uint8_t slot, std::uint8_t* eid);

/// State of a slot for which the modem reports no card.
constexpr std::uint8_t norvel_card_unknown = 3;

/// States of the first two cards: 0 absent, 1 present, 2 error, above: unknown.
using norvel_card_states = std::array<std::uint8_t, 2>;

/// False when no request could be sent. Later failures leave the states unchanged.
bool norvel_uim_get_card_status(norvel_card_states& states);

constexpr std::uint8_t norvel_no_channel = 255;

/// `channel_id`: out, the channel, or norvel_no_channel when none was opened.
int norvel_uim_open_channel(std::uint8_t slot, std::span<const std::uint8_t> aid,
                            std::uint8_t& channel_id);

/// A card's answer, ending in the status words; cut to what fits.
struct norvel_apdu_response {
  std::uint8_t length;
  std::array<std::uint8_t, 63> bytes;
};

int norvel_uim_send_apdu(std::uint8_t slot, std::uint8_t channel_id,
                         std::span<const std::uint8_t> apdu, norvel_apdu_response& response);

int norvel_uim_close_channel(std::uint8_t slot, std::uint8_t channel_id);
