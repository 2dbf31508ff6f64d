#include "simulator/services/dms.h"

#include <chrono>

#include "simulator/modem/identity.h"
#include "simulator/services/handlers.h"
#include "simulator/services/network_indications.h"

namespace sim {
namespace {

using protocol::qmi::error;
using protocol::qmi::tlv_writer;

constexpr std::uint16_t event_report = 0x0001;
constexpr std::uint8_t operating_mode_tlv = 0x14;  ///< of event reports

enum class radio_type : std::uint8_t { gsm = 4, umts = 5, lte = 8, nr = 10 };
constexpr radio_type radios[] = {radio_type::gsm, radio_type::umts, radio_type::lte,
                                 radio_type::nr};

void capabilities(modem& /*state*/, tlv_writer& out) {
  constexpr std::uint8_t data_and_calls = 3;
  constexpr std::uint8_t has_sim = 2;
  packed value;
  value.u32(50'000'000).u32(300'000'000).u8(data_and_calls).u8(has_sim);
  value.u8(static_cast<std::uint8_t>(std::size(radios)));
  for (const radio_type each : radios) value.u8(static_cast<std::uint8_t>(each));
  out.bytes(value_tlv, value.view());
}

std::string manufacturer(modem& /*state*/) {
  return modem_manufacturer;
}
std::string model(modem& /*state*/) {
  return modem_model;
}
std::string revision(modem& /*state*/) {
  return TVK_MODEM_VERSION;
}
std::string hardware(modem& /*state*/) {
  return "simulated";
}
std::string number(modem& state) {
  return state.seen_by(0) ? subscriber_number : "";
}
std::string iccid(modem& state) {
  card found;
  static_cast<void>(state.uicc.look_logical(1, found));
  return usim::digits_of(found.iccid);
}
std::string imsi(modem& state) {
  return state.seen_by(0) ? usim::imsi : "";
}

void ids(modem& state, tlv_writer& out) {
  out.bytes(0x10, packed().text("0").view());
  out.bytes(0x11, packed().text(imei_of(state.nv)).view());
}

void power_state(modem& /*state*/, tlv_writer& out) {
  constexpr std::uint8_t external = 1;
  out.bytes(value_tlv, packed().u8(external).u8(100).view());
}

void uim_state(modem& state, tlv_writer& out) {
  constexpr std::uint8_t complete = 0;
  constexpr std::uint8_t locked = 1;
  constexpr std::uint8_t absent = 2;
  card found;
  const bool is_there = state.uicc.look_logical(1, found) == card_error::none && found.has_usim();
  const bool is_open = state.usim.is_unlocked(state.uicc.physical_of(1));
  out.integer(value_tlv, !is_there ? absent : is_open ? complete : locked);
}

void operating_mode(modem& state, tlv_writer& out) {
  out.integer(value_tlv, static_cast<std::uint8_t>(state.mode()));
}

void time_of_day(modem& /*state*/, tlv_writer& out) {
  using namespace std::chrono;
  constexpr sys_days epoch = year(1980) / January / 6;
  const auto since = duration_cast<milliseconds>(system_clock::now() - epoch).count();
  const auto time = static_cast<std::uint64_t>(since);
  const std::uint64_t steps = time * 4 / 5;  // of 1.25 ms
  out.bytes(value_tlv, packed()
                           .u32(static_cast<std::uint32_t>(steps))
                           .u16(static_cast<std::uint16_t>(steps >> 32))
                           .u16(0)
                           .view());
  out.integer(0x10, time).integer(0x11, time);
}

constexpr std::uint8_t lte_bands[] = {1, 3, 7, 8, 20, 28};
constexpr std::uint8_t nr_bands[] = {1, 28, 78};

std::vector<std::uint8_t> numbers_of(std::span<const std::uint8_t> bands) {
  packed list;
  list.u16(static_cast<std::uint16_t>(bands.size()));
  for (const std::uint8_t band : bands) list.u16(band);
  return {list.view().begin(), list.view().end()};
}

void bands(modem& /*state*/, tlv_writer& out) {
  constexpr unsigned older[] = {7, 8, 9, 22, 49};  // GSM 1800 and 900, WCDMA 2100 and 900
  std::uint64_t older_mask = 0;
  for (const unsigned bit : older) older_mask |= std::uint64_t{1} << bit;
  std::uint64_t lte_mask = 0;
  for (const std::uint8_t band : lte_bands) lte_mask |= std::uint64_t{1} << (band - 1);
  // NOLINTNEXTLINE(readability-suspicious-call-argument): a type, then a value.
  out.integer(value_tlv, older_mask)
      .integer(0x10, lte_mask)
      .bytes(0x12, numbers_of(lte_bands))
      .bytes(0x13, numbers_of(nr_bands));
}

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
  tlv_writer told;
  told.integer(operating_mode_tlv, number);
  indicate(out, asked.state, watched::operating_mode, {{}, event_report, told.take()});
  indicate_network(asked.state, out);
  return out;
}

constexpr message_row rows[] = {
    {event_report, "set event report", set_event_report},
    {0x0020, "get capabilities", tell<capabilities>},
    {0x0021, "get manufacturer", tell_text<manufacturer, error::internal>},
    {0x0022, "get model", tell_text<model, error::internal>},
    {0x0023, "get revision", tell_text<revision, error::internal>},
    {0x0024, "get MSISDN", tell_text<number, error::not_provisioned>},
    {0x0025, "get ids", tell<ids>},
    {0x0026, "get power state", tell<power_state>},
    {0x002C, "get hardware revision", tell_text<hardware, error::internal>},
    {0x002D, "get operating mode", tell<operating_mode>},
    {0x002E, "set operating mode", set_operating_mode},
    {0x002F, "get time", tell<time_of_day>},
    {0x0031, "get activation state", tell_number<std::uint16_t, 1>},
    {0x003C, "get ICCID", tell_text<iccid, error::not_provisioned>},
    {0x0043, "get IMSI", tell_text<imsi, error::not_provisioned>},
    {0x0044, "get UIM state", tell<uim_state>},
    {0x0045, "get band capabilities", tell<bands>},
    {0x0046, "get factory SKU", tell_text<model, error::internal>},
    {0x0051, "get software version", tell_text<revision, error::internal>},
};

}  // namespace

std::span<const message_row> dms_messages() {
  return rows;
}

}  // namespace sim
