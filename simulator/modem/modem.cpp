#include "simulator/modem/modem.h"

#include "simulator/standard_error.h"

namespace sim {

void modem::drop_unfinished() {
  transfers.drop_all();
  pdc_clients.drop_all();
  statistics_on = false;
  try {
    hot_swap.stop();
    uicc.restart();
  } catch (const failure& error) {
    tell_user(error.what());
  }
}

std::optional<radio_values> modem::seen_by(unsigned subscription) {
  const radio::time now = radio.now();
  card found;
  const bool has_usim =
      uicc.look_logical(subscription + 1, found) == card_error::none && found.has_usim();
  if (!has_usim || !radio.is_on(now)) return std::nullopt;
  return radio.at(now);
}

}  // namespace sim
