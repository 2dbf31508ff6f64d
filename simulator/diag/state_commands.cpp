// What the modem is doing: status snapshots, and the operating mode.
#include "simulator/diag/command.h"

namespace sim::diag {
namespace {

constexpr std::size_t esn_size = 4;

/// As much of the item as there is, and zeros.
std::vector<std::uint8_t> item(modem& state, std::uint16_t number, std::size_t size) {
  auto data = state.nv.read(0, number).value_or(std::vector<std::uint8_t>());
  data.resize(size);
  return data;
}

/// The fields that a modem without CDMA has.
reply status(const request& asked) {
  return byte_string().zeros(3).bytes(item(asked.state, esn_item, esn_size)).zeros(40);
}

reply snapshot(const request& asked) {
  return byte_string()
      .bytes(item(asked.state, esn_item, esn_size))
      .zeros(15)
      .u16(asked.state.radio.means.network.mcc)
      .zeros(14);
}

/// IMEI and IMSI, length first, then what is left of `size` bytes.
template <std::size_t size>
reply identities(const request& asked) {
  constexpr std::uint16_t imei_item = 550;
  constexpr std::size_t identity_size = 9;
  /// 001010123456789, as a card has it.
  constexpr std::uint8_t imsi[identity_size] = {0x08, 0x09, 0x10, 0x10, 0x10,
                                                0x32, 0x54, 0x76, 0x98};
  return byte_string()
      .bytes(item(asked.state, imei_item, identity_size))
      .bytes(imsi)
      .zeros(size - 2 * identity_size);
}

reply umts_state(const request& /*asked*/) {
  return byte_string().zeros(22);
}

reply call_manager_state(const request& asked) {
  constexpr unsigned online = 5;
  constexpr unsigned low_power = 6;
  constexpr unsigned lte = 9;
  const radio& air = asked.state.radio;
  const bool camped = air.at_present().rrc != lte_rrc_state::idle_not_camped;
  return byte_string()
      .u32(5, air.is_on(air.now()) ? online : low_power, camped ? lte : 0)
      .zeros(32);
}

enum class mode : std::uint8_t {
  offline_analog,
  offline_digital,
  reset,
  factory_test,
  online,
  low_power,
  power_off,
};

reply control(const request& asked) {
  const auto wanted = asked.at<std::uint8_t>(1);
  if (wanted > static_cast<std::uint8_t>(mode::power_off)) throw refused{refusal::bad_parameter};
  reply out = byte_string();
  radio& air = asked.state.radio;
  if (static_cast<mode>(wanted) == mode::reset) {
    out.restart = true;
  } else {
    air.turn(static_cast<mode>(wanted) == mode::online, air.now());
  }
  return out;
}

constexpr command_row rows[] = {
    {plain(0x0C), "status", 1, 1, 1, status},
    {plain(0x29), "control", 3, 3, 3, control},
    {plain(0x63), "status snapshot", 1, 1, 1, snapshot},
    {subsystem(0x04, 0x000F), "WCDMA state", 4, 4, 4, identities<19>},
    {subsystem(0x08, 0x0001), "GSM state", 4, 4, 4, identities<28>},
    {subsystem(0x09, 0x0000), "UMTS state", 4, 4, 4, umts_state},
    {subsystem(0x0F, 0x0000), "call manager state", 4, 4, 4, call_manager_state},
};

}  // namespace

std::span<const command_row> state_commands() {
  return rows;
}

}  // namespace sim::diag
