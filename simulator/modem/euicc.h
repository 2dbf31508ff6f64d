// A small eUICC: what its root security domain (ISD-R) answers to the local profile assistant. The
// requests are the data objects of the public interfaces ES10b and ES10c, each in one STORE DATA.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "protocol/bytes.h"
#include "simulator/modem/euicc_notes.h"
#include "simulator/modem/profile_store.h"

namespace sim {

inline constexpr std::array<std::uint8_t, 16> isd_r_aid = {
    0xA0, 0x00, 0x00, 0x05, 0x59, 0x10, 0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0x89, 0x00, 0x00, 0x01, 0x00};
/// Decimal digits in reading order; the last two are check digits.
inline constexpr std::array<std::uint8_t, 16> euicc_eid = {
    0x89, 0x04, 0x90, 0x32, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x66};

struct euicc_state {
  profile_store profiles;
  euicc_notes notes;
};

class euicc {
 public:
  explicit euicc(store& store) : state_{profile_store(store), euicc_notes(store)} {}

  /// The response to SELECT of the ISD-R.
  [[nodiscard]] static std::vector<std::uint8_t> select_isd_r();

  /// Whether the request is one of a profile's download, for which this card has no keys.
  [[nodiscard]] static bool needs_keys(protocol::byte_view request);
  /// The answer to one request; empty for one that it does not know or that is malformed. Throws
  /// `failure` when the state cannot be read or written.
  [[nodiscard]] std::vector<std::uint8_t> ask_isd_r(protocol::byte_view request);

  [[nodiscard]] profile_store& profiles() { return state_.profiles; }

 private:
  euicc_state state_;
};

}  // namespace sim
