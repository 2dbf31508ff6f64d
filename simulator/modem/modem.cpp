#include "simulator/modem/modem.h"

#include "simulator/standard_error.h"

namespace sim {

void modem::drop_unfinished() {
  transfers.drop_all();
  pdc_clients.clear();
  statistics_on = false;
  watchers = {};
  data.calls.clear();
  try {
    hot_swap.stop();
    uicc.restart();
  } catch (const failure& error) {
    tell_user(error.what());
  }
}

device_mode modem::mode() const {
  return radio.is_on(radio.now()) ? device_mode::online : mode_when_off;
}

void modem::set_mode(device_mode wanted) {
  if (wanted != device_mode::online) mode_when_off = wanted;
  radio.turn(wanted == device_mode::online, radio.now());
}

std::optional<radio_values> modem::seen_by(unsigned subscription) {
  const radio::time now = radio.now();
  card found;
  const bool has_usim = uicc.look_logical(subscription + 1, found) == card_error::none &&
                        found.has_usim() && usim.is_unlocked(uicc.physical_of(subscription + 1));
  if (!has_usim || !radio.is_on(now)) return std::nullopt;
  return radio.at(now);
}

}  // namespace sim
