// The modem behind the services: what they read and change.
#pragma once

#include <optional>
#include <string>

#include <asio/io_context.hpp>

#include "simulator/modem/activity.h"
#include "simulator/modem/cards.h"
#include "simulator/modem/efs_store.h"
#include "simulator/modem/efs_transfers.h"
#include "simulator/modem/hot_swap_run.h"
#include "simulator/modem/nv_store.h"
#include "simulator/modem/radio.h"
#include "simulator/modem/settings.h"
#include "simulator/modem/store.h"

namespace sim {

struct modem {
  modem(asio::io_context& io, const std::string& state_directory)
      : store(state_directory),
        nv(store),
        efs(store),
        kept(store),
        transfers(efs),
        cards(kept, activity),
        hot_swap(io, cards) {}

  /// What a restart of the modem's firmware forgets.
  void drop_unfinished();

  /// What a subscription's radio sees now: nothing without a card, and while the radio is off.
  [[nodiscard]] std::optional<radio_values> seen_by(unsigned subscription);

  sim::store store;
  nv_store nv;
  efs_store efs;
  settings kept;
  efs_transfers transfers;
  sim::activity activity;
  sim::cards cards;
  hot_swap_run hot_swap;
  sim::radio radio;

  /// Until a client switches it on there are no statistics.
  bool statistics_on = false;

  /// Set by a request: once its answer is on its way the modem restarts.
  bool restart_asked = false;
};

}  // namespace sim
