#include "simulator/modem/receive_paths.h"

#include <chrono>
#include <cmath>

namespace sim {
namespace {

/// How much weaker than the first antenna each one receives, dB.
struct antenna_loss {
  double strength;
  double quality;
};
constexpr std::array<antenna_loss, receive_antennas> losses = {{
    {0, 0},
    {1.5, 0.5},
    {4.25, 1.25},
    {6.5, 2},
}};

/// Each further carrier comes from farther away.
constexpr double carrier_loss = 2;  // dB

struct secondary_carrier {
  std::uint8_t band;
  std::uint32_t earfcn;
};
constexpr std::array<secondary_carrier, lte_carriers - 1> secondary_carriers = {{
    {1, 300},
    {7, 3100},
    {20, 6300},
    {8, 3600},
    {28, 9410},
    {32, 10140},
}};
constexpr unsigned pci_step = 7;
constexpr unsigned lte_pcis = 504;
constexpr unsigned nr_pcis = 1008;
constexpr std::uint32_t nr_carrier_step = 4000;  // in channel numbers
constexpr double nr_resource_blocks = 100;

template <typename Cell>
Cell weakened(Cell cell, unsigned antenna) {
  const antenna_loss& loss = losses.at(antenna);
  cell.rsrp -= loss.strength;
  cell.rsrq -= loss.quality;
  cell.sinr -= 2 * loss.quality;
  return cell;
}

constexpr antenna_paths straight{{0, 1, 2, 3}, {0, 1}, 0};
constexpr antenna_paths crossed{{1, 0, 3, 2}, {1, 0}, 1};

}  // namespace

lte_cell lte_carrier(const lte_cell& primary, unsigned carrier) {
  lte_cell cell = primary;
  if (carrier == 0) return cell;
  const secondary_carrier& at = secondary_carriers.at(carrier - 1);
  cell.band = at.band;
  cell.dl_earfcn = at.earfcn;
  cell.pci = static_cast<std::uint16_t>((primary.pci + pci_step * carrier) % lte_pcis);
  cell.rsrp -= carrier_loss * carrier;
  return cell;
}

nr_cell nr_carrier(const nr_cell& primary, unsigned carrier) {
  nr_cell cell = primary;
  cell.arfcn += nr_carrier_step * carrier;
  cell.pci = static_cast<std::uint16_t>((primary.pci + pci_step * carrier) % nr_pcis);
  cell.rsrp -= carrier_loss * carrier;
  return cell;
}

lte_cell at_antenna(const lte_cell& cell, unsigned antenna) {
  return weakened(cell, antenna);
}

nr_cell at_antenna(const nr_cell& cell, unsigned antenna) {
  return weakened(cell, antenna);
}

double rssi_at_antenna(double rssi, unsigned antenna) {
  return rssi - losses.at(antenna).strength;
}

double rssi(const nr_cell& cell) {
  return cell.rsrp - cell.rsrq + 10 * std::log10(nr_resource_blocks);
}

antenna_switch last_antenna_switch(const radio& seen, radio::time when) {
  constexpr std::chrono::seconds hold{30};
  const auto switches = seen.swing == 0 ? 0 : when / hold;
  if (switches == 0) return {straight, straight};
  return switches % 2 == 1 ? antenna_switch{straight, crossed} : antenna_switch{crossed, straight};
}

}  // namespace sim
