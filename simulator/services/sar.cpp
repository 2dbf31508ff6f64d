#include "simulator/services/sar.h"

#include "simulator/services/handlers.h"

namespace sim {

using protocol::qmi::error;
using protocol::qmi::tlv_writer;

reply set_rf_state(const request& asked) {
  constexpr std::uint8_t state_tlv = 0x01;
  const auto state = take<std::uint32_t>(asked, state_tlv);
  if (state > setting_of::sar_state.most) return error::invalid_argument;
  asked.state.kept.set(setting_of::sar_state, state);
  asked.state.activity.count(event::rf_state_set);
  return error::none;
}

reply get_rf_state(const request& asked) {
  constexpr std::uint8_t state_tlv = 0x10;
  const auto state = asked.state.kept.get(setting_of::sar_state);
  return tlv_writer().integer(state_tlv, static_cast<std::uint32_t>(state));
}

}  // namespace sim
