// What the modem has done since it started, in numbers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace sim {

enum class event : std::uint8_t {
  datagram,        ///< came for a service
  request,         ///< of those, the well-formed requests
  answered,        ///< requests answered without a QMI error
  refused,         ///< requests answered with one
  control_packet,  ///< came for the control port
  restart,
  statistics_asked,
  item_read,  ///< NV items, and chunks of EFS files
  item_written,
  switch_notice,
  rf_state_set,
  card_set,      ///< a card's level was set, by a message or a hot-swap run
  card_changed,  ///< of those, the ones that put a card in or took it out
  last = card_changed,
};

class activity {
 public:
  void count(event what) { ++counts_.at(static_cast<std::size_t>(what)); }
  [[nodiscard]] std::uint64_t of(event what) const {
    return counts_.at(static_cast<std::size_t>(what));
  }

 private:
  std::array<std::uint64_t, static_cast<std::size_t>(event::last) + 1> counts_{};
};

}  // namespace sim
