// Packet data: which clients have a call, and the profiles that calls are made with. All of it is
// forgotten when the modem ends.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string_view>
#include <vector>

#include "simulator/port.h"

namespace sim {

/// Values that clients set and get back as the TLVs of a service carry them, by the TLV that gets
/// each; one that was never set is missing.
using kept_values = std::map<std::uint8_t, std::vector<std::uint8_t>>;

/// A profile's settings.
using data_profile = kept_values;

namespace profile_tlv {
inline constexpr std::uint8_t name = 0x10;
inline constexpr std::uint8_t pdp_type = 0x11;  ///< 0 IPv4, 1 PPP, 2 IPv6, 3 both
inline constexpr std::uint8_t apn = 0x14;
}  // namespace profile_tlv

inline constexpr std::uint8_t last_data_profile = 16;

[[nodiscard]] data_profile made_data_profile(std::string_view apn, std::uint8_t pdp_type);
/// What is missing or out of range is IPv4, and no APN.
[[nodiscard]] std::uint8_t data_profile_type(const data_profile& profile);
[[nodiscard]] std::string_view data_profile_apn(const data_profile& profile);

class data_service {
 public:
  std::set<client, client_order> calls;
  std::uint8_t autoconnect = 0;
  kept_values format;  ///< of WDA, for packets

  /// By number. There is one at first.
  [[nodiscard]] std::map<std::uint8_t, data_profile>& all_profiles() { return profiles_; }

 private:
  std::map<std::uint8_t, data_profile> profiles_{{1, made_data_profile("internet", 3)}};
};

}  // namespace sim
