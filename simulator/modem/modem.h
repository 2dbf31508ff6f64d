// The state of the modem: what services, DIAG and AT read and change.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <asio/io_context.hpp>

#include "simulator/modem/activity.h"
#include "simulator/modem/cards.h"
#include "simulator/modem/data_service.h"
#include "simulator/modem/efs_transfers.h"
#include "simulator/modem/efs_tree.h"
#include "simulator/modem/euicc.h"
#include "simulator/modem/hot_swap_run.h"
#include "simulator/modem/item_store.h"
#include "simulator/modem/pdc_clients.h"
#include "simulator/modem/pdc_configs.h"
#include "simulator/modem/radio.h"
#include "simulator/modem/settings.h"
#include "simulator/modem/store.h"
#include "simulator/modem/uicc_slots.h"
#include "simulator/modem/usim.h"
#include "simulator/modem/watchers.h"

namespace sim {

/// Numbers as DMS has them.
enum class device_mode : std::uint8_t {
  online = 0,
  low_power = 1,
  offline = 3,
  reset = 4,
  shutting_down = 5,
  mode_only_low_power = 7,
  last = mode_only_low_power,
};

struct modem {
  modem(asio::io_context& io, const std::string& state_directory)
      : store(state_directory),
        nv(store),
        efs(store),
        tree(store, efs),
        kept(store),
        transfers(efs),
        cards(kept, activity),
        hot_swap(io, kept, cards),
        euicc(store),
        usim(kept),
        uicc(kept, cards, euicc, usim),
        configs(store) {}

  /// What a restart of the modem's firmware forgets.
  void drop_unfinished();

  [[nodiscard]] device_mode mode() const;
  /// Only online is the radio on.
  void set_mode(device_mode wanted);

  /// What a subscription's radio sees now: nothing without a powered card with a USIM that no PIN
  /// locks, and nothing while the radio is off.
  [[nodiscard]] std::optional<radio_values> seen_by(unsigned subscription);

  sim::store store;
  nv_store nv;
  efs_store efs;
  efs_tree tree;
  settings kept;
  efs_transfers transfers;
  sim::activity activity;
  sim::cards cards;
  hot_swap_run hot_swap;
  sim::euicc euicc;
  sim::usim usim;
  uicc_slots uicc;
  pdc_configs configs;
  sim::pdc_clients pdc_clients;
  sim::radio radio;
  sim::watchers watchers;
  kept_values selection;  ///< of NAS, how to choose a network
  data_service data;
  bool is_attached = true;  ///< to packet services, while registered
  device_mode mode_when_off = device_mode::low_power;

  /// There are no statistics until a client switches them on.
  bool statistics_on = false;

  /// Bytes of an answer of the factory test.
  std::uint32_t factory_answer = 64;
};

}  // namespace sim
