// DMS, the standard service of the device: what it is, and its operating mode.
#include <chrono>

#include "simulator/modem/identity.h"
#include "simulator/services/handlers.h"
#include "simulator/services/indications.h"
#include "simulator/services/messages.h"

namespace sim {
namespace {

using protocol::qmi::error;
using row = value_row<modem>;

constexpr std::uint16_t event_report = 0x0001;
constexpr std::uint8_t operating_mode_tlv = 0x14;  ///< of event reports

/// 50 and 300 Mbit/s, data and calls, with SIM, four radios: GSM, UMTS, LTE, NR.
constexpr row capabilities[] = {{value_tlv, "80 f0 fa 02 00 a3 e1 11 03 02 04 04 05 08 0a"}};
constexpr row power_state[] = {{value_tlv, "01 64"}};  // external, 100 %
constexpr row activated[] = {{value_tlv, "01 00"}};
constexpr row bands[] = {
    {value_tlv, "80 03 40 00 00 00 02 00"},  // GSM 1800 and 900, WCDMA 2100 and 900
    {0x10, "c5 00 08 08 00 00 00 00"},       // LTE, a bit each, and as numbers
    {0x12, "06 00 01 00 03 00 07 00 08 00 14 00 1c 00"},
    {0x13, "03 00 01 00 1c 00 4e 00"},  // NR
};

template <const char* const& text>
packed say(modem& /*state*/) {
  return packed().text(text);
}
constexpr const char* version = TVK_MODEM_VERSION;
constexpr const char* simulated = "simulated";
constexpr row manufacturer[] = {{value_tlv, say<modem_manufacturer>}};
constexpr row model[] = {{value_tlv, say<modem_model>}};
constexpr row revision[] = {{value_tlv, say<version>}};
constexpr row hardware[] = {{value_tlv, say<simulated>}};

packed say_if_any(std::string_view text) {
  if (text.empty()) refuse(error::not_provisioned);
  return packed().text(text);
}
packed say_if_seen(modem& state, std::string_view text) {
  return say_if_any(state.seen_by(0) ? text : "");
}
packed say_iccid(modem& state) {
  card found;
  static_cast<void>(state.uicc.look_logical(1, found));
  return say_if_any(usim::digits_of(found.iccid));
}
constexpr row own_number[] = {
    {value_tlv, [](modem& state) { return say_if_seen(state, subscriber_number); }}};
constexpr row iccid[] = {{value_tlv, say_iccid}};
constexpr row imsi[] = {{value_tlv, [](modem& state) { return say_if_seen(state, usim::imsi); }}};
constexpr row ids[] = {
    {0x10, "30"},  // no ESN
    {0x11, [](modem& state) { return packed().text(imei_of(state.nv)); }},
};

packed state_of_uim(modem& state) {
  constexpr std::uint8_t complete = 0;
  constexpr std::uint8_t locked = 1;
  constexpr std::uint8_t absent = 2;
  card found;
  const bool is_there = state.uicc.look_logical(1, found) == card_error::none && found.has_usim();
  const bool is_open = state.usim.is_unlocked(state.uicc.physical_of(1));
  return packed().u8(!is_there ? absent : is_open ? complete : locked);
}
constexpr row uim_state[] = {{value_tlv, state_of_uim}};

constexpr row operating_mode[] = {
    {value_tlv, [](modem& state) { return packed().u8(static_cast<std::uint8_t>(state.mode())); }}};

/// In milliseconds, from 6 January 1980 on.
std::uint64_t time_now(const request& /*asked*/) {
  using namespace std::chrono;
  constexpr sys_days epoch = year(1980) / January / 6;
  const auto since = duration_cast<milliseconds>(system_clock::now() - epoch).count();
  return static_cast<std::uint64_t>(since);
}
packed write_time(const std::uint64_t& time) {
  return packed().u64(time);
}
/// In 48 bits.
packed write_steps(const std::uint64_t& time) {
  const std::uint64_t steps = time * 4 / 5;  // of 1.25 ms
  return packed()
      .u32(static_cast<std::uint32_t>(steps))
      .u16(static_cast<std::uint16_t>(steps >> 32))
      .u16(0);
}
constexpr value_row<const std::uint64_t> time_of_day[] = {
    {value_tlv, write_steps}, {0x10, write_time}, {0x11, write_time}};

reply set_event_report(const request& asked) {
  watch(asked, operating_mode_tlv, watched::operating_mode);
  return error::none;
}

reply set_operating_mode(const request& asked) {
  const auto number = take<std::uint8_t>(asked, value_tlv);
  if (number > static_cast<std::uint8_t>(device_mode::last)) return error::invalid_argument;
  const auto wanted = static_cast<device_mode>(number);
  const device_mode present = asked.state.mode();
  if (wanted == present) return error::no_effect;
  const bool ends = wanted == device_mode::reset || wanted == device_mode::shutting_down;
  if (ends && present != device_mode::offline) return error::invalid_transition;
  reply out = error::none;
  out.restart = wanted == device_mode::reset;
  asked.state.set_mode(wanted);
  protocol::qmi::tlv_writer told;
  told.integer(operating_mode_tlv, number);
  indicate(out, asked.state, watched::operating_mode, {{}, event_report, told.take()});
  indicate_network(asked.state, out);
  return out;
}

constexpr message_row rows[] = {
    {event_report, "set event report", set_event_report},
    {0x0020, "get capabilities", tell<capabilities>},
    {0x0021, "get manufacturer", tell<manufacturer>},
    {0x0022, "get model", tell<model>},
    {0x0023, "get revision", tell<revision>},
    {0x0024, "get MSISDN", tell<own_number>},
    {0x0025, "get ids", tell<ids>},
    {0x0026, "get power state", tell<power_state>},
    {0x002C, "get hardware revision", tell<hardware>},
    {0x002D, "get operating mode", tell<operating_mode>},
    {0x002E, "set operating mode", set_operating_mode},
    {0x002F, "get time", tell<time_of_day, time_now>},
    {0x0031, "get activation state", tell<activated>},
    {0x003C, "get ICCID", tell<iccid>},
    {0x0043, "get IMSI", tell<imsi>},
    {0x0044, "get UIM state", tell<uim_state>},
    {0x0045, "get band capabilities", tell<bands>},
    {0x0046, "get factory SKU", tell<model>},
    {0x0051, "get software version", tell<revision>},
};

}  // namespace

std::span<const message_row> dms_messages() {
  return rows;
}

}  // namespace sim
