// What decoding carries on from packet to packet of a capture or a live connection. A chunk may be
// decoded before the chunks ahead of it, from a guess at what they leave behind.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace decode {

/// Counts that outputs show as they run on. Both grow by the same steps whatever they start with,
/// so a wrong start is put right by adding the difference.
struct running_counts {
  std::uint64_t packets = 0;     // of this capture or connection
  std::uint64_t rejections = 0;  // of versions, in this run

  friend running_counts operator-(running_counts a, running_counts b) {
    return {a.packets - b.packets, a.rejections - b.rejections};
  }
  running_counts& operator+=(running_counts more) {
    packets += more.packets;
    rejections += more.rejections;
    return *this;
  }
};

/// The last LTE RRC state of each radio.
class rrc_states {
 public:
  /// More than any modem has. Garbage may name more; those begin with state 0 every time.
  static constexpr std::size_t most_radios = 64;

  [[nodiscard]] std::uint8_t of(std::uint32_t radio) const {
    const auto found = find(radio);
    return found == states_.end() ? std::uint8_t{0} : found->second;
  }
  void set(std::uint32_t radio, std::uint8_t state) {
    const auto found = states_.begin() + (find(radio) - states_.begin());
    if (found != states_.end()) {
      found->second = state;
    } else if (states_.size() < most_radios) {
      states_.emplace_back(radio, state);
    }
  }

  friend bool operator==(const rrc_states&, const rrc_states&) = default;

 private:
  using radio_state = std::pair<std::uint32_t, std::uint8_t>;

  [[nodiscard]] std::vector<radio_state>::const_iterator find(std::uint32_t radio) const {
    return std::ranges::find(states_, radio, &radio_state::first);
  }

  std::vector<radio_state> states_;
};

struct stream {
  running_counts counts;
  rrc_states rrc;

  /// Another capture or connection begins.
  void restart() {
    counts.packets = 0;
    rrc = {};
  }
};

}  // namespace decode
