#include "simulator/modem/data_service.h"

#include "simulator/modem/byte_strings.h"

namespace sim {

data_profile made_data_profile(std::string_view apn, std::uint8_t pdp_type) {
  const auto name = copied(bytes_of(apn));
  return {{profile_tlv::name, name}, {profile_tlv::pdp_type, {pdp_type}}, {profile_tlv::apn, name}};
}

std::uint8_t data_profile_type(const data_profile& profile) {
  constexpr std::uint8_t last_type = 3;
  const auto found = profile.find(profile_tlv::pdp_type);
  const bool is_known =
      found != profile.end() && found->second.size() == 1 && found->second[0] <= last_type;
  return is_known ? found->second[0] : 0;
}

std::string_view data_profile_apn(const data_profile& profile) {
  const auto found = profile.find(profile_tlv::apn);
  return found == profile.end() ? std::string_view() : text_of(found->second);
}

}  // namespace sim
