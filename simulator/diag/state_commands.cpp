// What the modem is doing: status snapshots, and the operating mode.
#include <algorithm>

#include "simulator/diag/command.h"

namespace sim::diag {
namespace {

constexpr std::uint16_t esn_item = 0;
constexpr std::uint16_t imei_item = 550;
constexpr std::size_t identity_size = 9;

template <typename T>
void put(packet& out, std::size_t at, T value) {
  protocol::store_le(value, std::span(out).subspan(at));
}

void put_item(packet& out, std::size_t at, modem& state, std::uint16_t item, std::size_t size) {
  const auto data = state.nv.read(0, item);
  if (!data) return;
  std::ranges::copy(byte_view(*data).first(std::min(size, data->size())),
                    out.begin() + static_cast<std::ptrdiff_t>(at));
}

/// The fields that a modem without CDMA has.
reply status(const request& asked) {
  packet answer = asked.begin_answer();
  answer.resize(48);
  put_item(answer, 4, asked.state, esn_item, sizeof(std::uint32_t));
  return answer;
}

reply snapshot(const request& asked) {
  packet answer = asked.begin_answer();
  answer.resize(36);
  put_item(answer, 1, asked.state, esn_item, sizeof(std::uint32_t));
  put(answer, 20, asked.state.radio.means.network.mcc);
  return answer;
}

/// 001010123456789, length first, as a card has it.
constexpr std::uint8_t imsi[identity_size] = {0x08, 0x09, 0x10, 0x10, 0x10, 0x32, 0x54, 0x76, 0x98};

void put_identities(packet& out, modem& state) {
  constexpr std::size_t imei_at = 4;
  put_item(out, imei_at, state, imei_item, identity_size);
  std::ranges::copy(imsi, out.begin() + imei_at + identity_size);
}

reply gsm_state(const request& asked) {
  packet answer = asked.begin_answer();
  answer.resize(32);
  put_identities(answer, asked.state);
  return answer;
}

reply wcdma_state(const request& asked) {
  packet answer = asked.begin_answer();
  answer.resize(23);
  put_identities(answer, asked.state);
  return answer;
}

reply umts_state(const request& asked) {
  packet answer = asked.begin_answer();
  answer.resize(26);
  return answer;
}

reply call_manager_state(const request& asked) {
  constexpr std::uint32_t online = 5;
  constexpr std::uint32_t low_power = 6;
  constexpr std::uint32_t lte = 9;
  packet answer = asked.begin_answer();
  answer.resize(48);
  const auto seen = asked.state.radio.at_present();
  const bool camped = seen.rrc != lte_rrc_state::idle_not_camped;
  put(answer, 4, std::uint32_t{5});
  put(answer, 8, asked.state.radio.is_on(asked.state.radio.now()) ? online : low_power);
  put(answer, 12, camped ? lte : std::uint32_t{0});
  return answer;
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
  if (wanted > static_cast<std::uint8_t>(mode::power_off)) return refusal::bad_parameter;
  reply out = asked.begin_answer();
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
    {subsystem(0x04, 0x000F), "WCDMA state", 4, 4, 4, wcdma_state},
    {subsystem(0x08, 0x0001), "GSM state", 4, 4, 4, gsm_state},
    {subsystem(0x09, 0x0000), "UMTS state", 4, 4, 4, umts_state},
    {subsystem(0x0F, 0x0000), "call manager state", 4, 4, 4, call_manager_state},
};

}  // namespace

std::span<const command_row> state_commands() {
  return rows;
}

}  // namespace sim::diag
