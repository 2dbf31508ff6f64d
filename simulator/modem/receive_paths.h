// What each carrier and each of the four receive antennas makes of what the radio sees. The first
// antenna of the primary carrier has the cell's own levels.
#pragma once

#include <array>
#include <cstdint>

#include "simulator/modem/radio.h"

namespace sim {

constexpr unsigned receive_antennas = 4;
constexpr unsigned lte_carriers = 7;  ///< the primary and six secondary ones
constexpr unsigned nr_carriers = 3;

[[nodiscard]] lte_cell lte_carrier(const lte_cell& primary, unsigned carrier);
[[nodiscard]] nr_cell nr_carrier(const nr_cell& primary, unsigned carrier);

[[nodiscard]] lte_cell at_antenna(const lte_cell& cell, unsigned antenna);
[[nodiscard]] nr_cell at_antenna(const nr_cell& cell, unsigned antenna);
/// dBm.
[[nodiscard]] double rssi_at_antenna(double rssi, unsigned antenna);
[[nodiscard]] double rssi(const nr_cell& cell);

/// Which antenna each path uses.
struct antenna_paths {
  std::array<std::uint8_t, receive_antennas> receive;
  std::array<std::uint8_t, 2> transmit;
  std::uint8_t configuration;
};

/// The paths change places every half minute, unless the radio stands still.
struct antenna_switch {
  antenna_paths before;
  antenna_paths after;
};
[[nodiscard]] antenna_switch last_antenna_switch(const radio& seen, radio::time when);

}  // namespace sim
