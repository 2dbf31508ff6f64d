// NAS, the standard service of the network: how well the first subscription's radio receives its
// cells, which network it is registered with, and how it chooses one. What only a registered modem
// knows is error 74 without a card, with a locked one, and with the radio off.
#pragma once

#include <algorithm>

#include "services/nas_v01.h"
#include "simulator/modem/radio.h"
#include "simulator/service.h"

namespace sim {

/// The channel where a message has 16 bits for it.
[[nodiscard]] inline std::uint16_t narrow_channel(const lte_cell& cell) {
  constexpr std::uint32_t too_wide = 0xFFFF;
  return static_cast<std::uint16_t>(std::min(cell.dl_earfcn, too_wide));
}

[[nodiscard]] reply get_signal_strength(const request& asked);
[[nodiscard]] reply get_rf_band_info(const request& asked);
[[nodiscard]] reply get_signal_info(const request& asked);
[[nodiscard]] reply get_carriers(const request& asked);

// The network.
[[nodiscard]] reply register_nas_indications(const request& asked);
[[nodiscard]] reply get_serving_system(const request& asked);
[[nodiscard]] reply get_system_info(const request& asked);
[[nodiscard]] reply get_home_network(const request& asked);
[[nodiscard]] reply get_preferred_networks(const request& asked);
[[nodiscard]] reply scan_networks(const request& asked);
[[nodiscard]] reply register_at_network(const request& asked);
[[nodiscard]] reply attach_to_packet_service(const request& asked);
[[nodiscard]] reply get_operator_name(const request& asked);
[[nodiscard]] reply get_plmn_name(const request& asked);
[[nodiscard]] reply get_cell_location(const request& asked);
[[nodiscard]] reply get_transmission(const request& asked);
[[nodiscard]] reply get_network_time(const request& asked);

// Its choice.
[[nodiscard]] reply get_selection(const request& asked);
[[nodiscard]] reply set_selection(const request& asked);

inline constexpr tlv_row nas_signal_strength_request_tlvs[] = {{0x10, "wanted"}};
inline constexpr tlv_row nas_signal_strength_response_tlvs[] = {{0x01, "strength", shown_as::bytes},
                                                                {0x02, "standard response"},
                                                                {0x11, "RSSI", shown_as::bytes},
                                                                {0x16, "RSRQ", shown_as::bytes},
                                                                {0x17, "LTE SNR"},
                                                                {0x18, "LTE RSRP"}};
inline constexpr tlv_row nas_rf_band_response_tlvs[] = {{0x01, "bands"},
                                                        {0x02, "standard response"},
                                                        {0x11, "bands, wide channels"},
                                                        {0x12, "bandwidths"}};
inline constexpr tlv_row nas_signal_info_response_tlvs[] = {
    {0x02, "standard response"}, {0x14, "LTE"}, {0x17, "NR", shown_as::bytes}, {0x18, "NR RSRQ"}};
[[nodiscard]] std::span<const message_row> nas_messages();

}  // namespace sim
