// What the modem's radio sees: a serving cell of LTE and one of NR, and cells of the older radios
// beside them, as physical values. They move slowly around what they were set to, the same way for
// the same seed, and are a function of the time since the modem started, so that a late
// client can still ask for the past.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/clock.h"

namespace sim {

struct radio_network {
  std::uint16_t mcc = 1;
  std::uint16_t mnc = 1;
  std::uint8_t mnc_digits = 2;
};

struct lte_cell {
  std::uint32_t dl_earfcn = 1300;
  std::uint32_t ul_earfcn = 19300;
  std::uint16_t pci = 143;  // 0..503
  std::uint8_t band = 3;
  std::uint8_t resource_blocks = 100;
  std::uint32_t cell_identity = 0x1BC7400;  // 28 bits
  std::uint16_t tracking_area = 1494;
  double rsrp = -95;  // dBm
  double rsrq = -10;  // dB
  double sinr = 15;   // dB

  /// dBm over all resource blocks, which follows from the two levels.
  [[nodiscard]] double rssi() const;
};

struct nr_cell {
  std::uint32_t arfcn = 431070;
  std::uint16_t pci = 710;  // 0..1007
  double rsrp = -100;       // dBm
  double rsrq = -11;        // dB
  double sinr = 12;         // dB
};

struct wcdma_cell {
  std::uint16_t dl_uarfcn = 10663;
  double rssi = -75;  // dBm
};

struct gsm_cell {
  std::uint16_t arfcn = 80;  // 12 bits
  std::uint8_t band = 2;     // 4 bits
  double rssi = -70;         // dBm
};

/// Numbers as event 1606 has them.
enum class lte_rrc_state : std::uint8_t {
  idle_not_camped = 1,
  idle_camped = 2,
  connecting = 3,
  connected = 4,
  closing = 7,
};

struct radio_values {
  lte_rrc_state rrc = lte_rrc_state::idle_not_camped;  // not camped: nothing is measured
  radio_network network;
  lte_cell lte;
  std::optional<std::uint16_t> neighbour_pci{};  // of the LTE cell to which handovers go
  nr_cell nr;
  wcdma_cell wcdma;
  gsm_cell gsm;
};

class radio {
 public:
  /// Since the modem started.
  using time = std::chrono::milliseconds;

  [[nodiscard]] radio_values at(time when) const;
  [[nodiscard]] time now() const;
  [[nodiscard]] radio_values at_present() const { return at(now()); }

  /// On or off from `when`; changes planned for later are forgotten.
  void turn(bool on, time when);
  [[nodiscard]] bool is_on(time when) const;

  /// Around which the levels move. With a neighbour, each handover goes to the other one of two
  /// cells, and the strength falls from each handover to the next.
  radio_values means;
  double swing = 3;  ///< dB, how far a level goes from its mean
  std::uint32_t seed = 1;

 private:
  struct change {
    time when;
    bool on;
  };

  [[nodiscard]] const change& last_change(time when) const;
  [[nodiscard]] double drift(unsigned level, time when) const;
  void move_between_cells(radio_values& values, time on) const;

  clock::time_point start_ = clock::now();
  std::vector<change> changes_{{time(0), true}};
};

}  // namespace sim
