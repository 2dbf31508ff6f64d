// NAS, the standard service of the network: how well the first subscription's radio receives its
// cells, which network it is registered with, and how it chooses one. What only a registered modem
// knows is error 74 without a card, with a locked one, and with the radio off.
#pragma once

#include <algorithm>

#include "services/nas_v01.h"
#include "simulator/services/handlers.h"

namespace sim {

/// What the modem is registered with.
struct registration : radio_values {
  bool is_attached = false;

  [[nodiscard]] bool is_roaming() const {
    const radio_network home;
    return network.mcc != home.mcc || network.mnc != home.mnc;
  }
};
using nas_row = value_row<const registration>;

[[nodiscard]] inline std::optional<registration> registration_of(modem& state) {
  const auto seen = state.seen_by(0);
  return seen ? std::optional(registration{*seen, state.is_attached}) : std::nullopt;
}

/// The handler ends if there is none.
[[nodiscard]] inline registration registered(const request& asked) {
  return required(registration_of(asked.state), protocol::qmi::error::information_unavailable);
}

inline constexpr std::uint8_t radio_lte = 8;
inline constexpr std::uint8_t radio_nr = 12;

/// The three digits of the country and those of the network, of which the third may be missing.
using network_digits = std::array<std::uint8_t, 6>;
inline constexpr std::uint8_t no_digit = 0xF;

[[nodiscard]] inline network_digits digits_of(const radio_network& network) {
  const auto digit = [](unsigned number, unsigned power) {
    return static_cast<std::uint8_t>(number / power % 10);
  };
  const bool is_long = network.mnc_digits == 3;
  const unsigned mnc = is_long ? network.mnc : network.mnc * 10U;
  return {digit(network.mcc, 100), digit(network.mcc, 10), digit(network.mcc, 1),
          digit(mnc, 100),         digit(mnc, 10),         is_long ? digit(mnc, 1) : no_digit};
}

}  // namespace sim
