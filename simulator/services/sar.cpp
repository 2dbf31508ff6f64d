// SAR, the standard service that limits transmit power: one state, 0 to 20, which is kept.
#include "services/sar_v01.h"
#include "simulator/services/handlers.h"
#include "simulator/services/messages.h"

namespace sim {
namespace {

using protocol::qmi::error;

reply set_rf_state(const request& asked) {
  const auto state = take<std::uint32_t>(asked, value_tlv);
  if (state > setting_of::sar_state.most) return error::invalid_argument;
  asked.state.kept.set(setting_of::sar_state, state);
  asked.state.activity.count(event::rf_state_set);
  return error::none;
}

packed kept_state(modem& state) {
  return packed().u32(static_cast<std::uint32_t>(state.kept.get(setting_of::sar_state)));
}
constexpr value_row<modem> rf_state[] = {{0x10, kept_state}};

constexpr tlv_row set_request_tlvs[] = {{0x01, "RF state"}};
constexpr tlv_row get_response_tlvs[] = {{0x10, "RF state"}};
constexpr message_row rows[] = {
    {sar_rf_set_state_v01, "set RF state", set_rf_state, set_request_tlvs},
    {sar_rf_get_state_v01, "get RF state", tell<rf_state>, {}, get_response_tlvs},
};

}  // namespace

std::span<const message_row> sar_messages() {
  return rows;
}

}  // namespace sim
