#include "simulator/modem/cards.h"

namespace sim {
namespace {

constexpr std::int64_t tray_in = 1;
constexpr std::int64_t sim_in = 2;

}  // namespace

bool cards::present(unsigned slot) {
  return (settings_.get(setting_of::card[slot]) & sim_in) != 0;
}

unsigned cards::count() {
  unsigned found = 0;
  for (unsigned slot = 0; slot < card_slots; ++slot) found += present(slot) ? 1U : 0U;
  return found;
}

void cards::set_tray(unsigned slot, bool in) {
  change(slot, in, in);
}

void cards::set_sim(unsigned slot, bool in) {
  change(slot, true, in);
}

void cards::change(unsigned slot, bool tray, bool sim) {
  const bool was = present(slot);
  settings_.set(setting_of::card[slot], (tray ? tray_in : 0) | (sim ? sim_in : 0));
  activity_.count(event::card_set);
  if (was != sim) activity_.count(event::card_changed);
}

}  // namespace sim
