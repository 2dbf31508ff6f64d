#include "simulator/modem/radio.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <utility>

namespace sim {
namespace {

using std::chrono::milliseconds;

/// The states that a radio cycles through while it is on.
struct rrc_phase {
  milliseconds begins;
  lte_rrc_state state;
};
constexpr milliseconds rrc_first_camped{600};
constexpr rrc_phase rrc_cycle[] = {
    {milliseconds(0), lte_rrc_state::idle_camped},
    {milliseconds(2000), lte_rrc_state::connecting},
    {milliseconds(2200), lte_rrc_state::connected},
    {milliseconds(17000), lte_rrc_state::closing},
    {milliseconds(17200), lte_rrc_state::idle_camped},
};
constexpr milliseconds rrc_cycle_time{20000};
/// In each cycle: when the handover of a connection is complete.
constexpr milliseconds rrc_handover{11400};

lte_rrc_state rrc_after(milliseconds on) {
  if (on < rrc_first_camped) return lte_rrc_state::idle_not_camped;
  const milliseconds at = (on - rrc_first_camped) % rrc_cycle_time;
  const auto* const next = std::ranges::upper_bound(rrc_cycle, at, {}, &rrc_phase::begins);
  return std::prev(next)->state;
}

/// Quality follows strength, so the three of a cell drift together, the lesser ones less.
constexpr double of_quality = 0.3;

/// -1..1, different for each whole number.
double phase(std::uint32_t number) {
  number *= 2654435761U;
  number ^= number >> 15;
  number *= 2246822519U;
  number ^= number >> 13;
  return static_cast<double>(number) / 2147483648.0 - 1;
}

}  // namespace

double lte_cell::rssi() const {
  return rsrp - rsrq + 10 * std::log10(resource_blocks);
}

radio::time radio::now() const {
  return std::chrono::duration_cast<time>(clock::now() - start_);
}

const radio::change& radio::last_change(time when) const {
  const auto next = std::ranges::upper_bound(changes_, when, {}, &change::when);
  return next == changes_.begin() ? *next : *std::prev(next);
}

bool radio::is_on(time when) const {
  return last_change(when).on;
}

void radio::turn(bool on, time when) {
  const auto later = std::ranges::lower_bound(changes_, when, {}, &change::when);
  changes_.erase(later, changes_.end());
  // A radio that is on already does not start over.
  if (changes_.empty() || changes_.back().on != on) changes_.push_back({when, on});
}

double radio::drift(unsigned level, time when) const {
  constexpr double slow = 47;  // seconds
  constexpr double fast = 13;
  constexpr double turn = 2 * std::numbers::pi;
  const double seconds = std::chrono::duration<double>(when).count();
  const std::uint32_t own = seed * 64 + level * 2;
  return swing * (0.7 * std::sin(turn * (seconds / slow + phase(own))) +
                  0.3 * std::sin(turn * (seconds / fast + phase(own + 1))));
}

void radio::move_between_cells(radio_values& values, time on) const {
  lte_cell& cell = values.lte;
  // As if the cycle before the first one had ended with a handover as well.
  const time since_first = on - rrc_first_camped - rrc_handover + rrc_cycle_time;
  if (since_first / rrc_cycle_time % 2 == 1) {
    std::swap(cell.pci, *values.neighbour_pci);
    cell.cell_identity ^= 1;
  }
  const double way = std::chrono::duration<double>(since_first % rrc_cycle_time) / rrc_cycle_time;
  const double strength = 2 * swing * std::cos(std::numbers::pi * way);
  cell.rsrp += strength;
  cell.rsrq += of_quality * strength;
  cell.sinr += of_quality * strength;
}

radio_values radio::at(time when) const {
  radio_values values = means;
  const change& last = last_change(when);
  values.rrc = last.on ? rrc_after(when - last.when) : lte_rrc_state::idle_not_camped;
  if (values.neighbour_pci) move_between_cells(values, when - last.when);
  const double lte = drift(0, when);
  values.lte.rsrp += lte;
  values.lte.rsrq += of_quality * lte;
  values.lte.sinr += of_quality * (lte + drift(1, when));
  const double nr = drift(2, when);
  values.nr.rsrp += nr;
  values.nr.rsrq += of_quality * nr;
  values.nr.sinr += of_quality * (nr + drift(3, when));
  values.wcdma.rssi += drift(4, when);
  values.gsm.rssi += drift(5, when);
  return values;
}

}  // namespace sim
