// The two card slots. A slot has a tray, whose detect line is high while it is in, and a SIM on it:
// the tray takes its SIM along, in and out, and a SIM can be in only with its tray.
#pragma once

#include <cstdint>

#include "simulator/modem/activity.h"
#include "simulator/modem/settings.h"

namespace sim {

constexpr unsigned card_slots = 2;

/// Every function throws `failure` when the state cannot be read or written.
class cards {
 public:
  cards(settings& settings, activity& activity) : settings_(settings), activity_(activity) {}

  [[nodiscard]] bool present(unsigned slot);
  /// How many slots have a card.
  [[nodiscard]] unsigned count();

  void set_tray(unsigned slot, bool in);
  void set_sim(unsigned slot, bool in);

 private:
  void change(unsigned slot, bool tray, bool sim);

  settings& settings_;
  activity& activity_;
};

}  // namespace sim
