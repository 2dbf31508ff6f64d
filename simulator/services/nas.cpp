// NAS: which network the modem is in, and how it chooses one. It has one and stays with it.
#include "simulator/services/nas.h"

#include <chrono>

#include "simulator/modem/identity.h"
#include "simulator/services/indications.h"
#include "simulator/services/kept_rows.h"
#include "simulator/services/messages.h"

namespace sim {
namespace {

using protocol::qmi::error;
using protocol::qmi::tlv_writer;

/// Three characters each; a network code of two digits ends in FF.
packed plmn_text(const radio_network& network) {
  packed out;
  for (const std::uint8_t digit : digits_of(network)) {
    out.u8(static_cast<std::uint8_t>(digit == no_digit ? 0xFF : '0' + digit));
  }
  return out;
}

packed name_of(const radio_network& network) {
  return packed().u16(network.mcc).u16(network.mnc).counted_text(operator_name);
}

// What is reported of the registration, on request and unasked.

packed attached(const registration& now) {
  constexpr std::uint8_t registered = 1;
  constexpr std::uint8_t attached = 1;
  constexpr std::uint8_t detached = 2;
  constexpr std::uint8_t of_3gpp = 2;
  packed out;
  out.u8(registered).u8(attached).u8(now.is_attached ? attached : detached).u8(of_3gpp);
  return out.u8(1).u8(radio_lte);
}

std::uint8_t domains(const registration& now) {
  constexpr std::uint8_t circuit = 1;
  constexpr std::uint8_t packet = 2;
  return now.is_attached ? circuit | packet : circuit;
}

packed details(const registration& now) {
  constexpr std::uint8_t available = 2;
  return packed().u8(available).u8(domains(now)).u8(0).u8(0).u8(0);
}

packed network_codes(const registration& now) {
  const radio_network& network = now.network;
  return packed().u16(network.mcc).u16(network.mnc).u8(network.mnc_digits == 3 ? 1 : 0);
}

constexpr nas_row serving_rows[] = {
    {0x01, attached},
    {0x10, [](const registration& now) { return packed().u8(now.is_roaming() ? 0 : 1); }},
    {0x11, "01 0b"},  // LTE
    {0x12, [](const registration& now) { return name_of(now.network); }},
    {0x1A, "00"},  // UTC
    {0x1B, "00"},
    {0x1D, [](const registration& now) { return packed().u32(now.lte.cell_identity); }, 0x1E},
    {0x21, details, 0x22},
    {0x24, [](const registration& now) { return packed().u16(now.lte.tracking_area); }, 0x25},
    {0x27, network_codes, 0x29},
};

/// The part that all radios' information begins with, and the tracking area after it.
packed lte_information(const registration& now) {
  constexpr std::uint8_t valid = 1;
  constexpr std::uint8_t no_value = 0;
  const std::uint8_t domain = domains(now);
  packed out;
  out.u8(valid).u8(domain).u8(valid).u8(domain).u8(valid).u8(now.is_roaming() ? 1 : 0);
  out.u8(valid).u8(no_value);    // not forbidden
  out.u8(no_value).u16(0xFFFF);  // no location area
  out.u8(valid).u32(now.lte.cell_identity);
  out.u8(no_value).u8(no_value).u8(no_value);  // not rejected
  out.u8(valid).raw(plmn_text(now.network).view());
  return out.u8(valid).u16(now.lte.tracking_area);
}

constexpr nas_row system_rows[] = {
    {0x14, "02 02 01"},  // LTE has service
    {0x19, lte_information},
    {0x1E, "ff ff"},              // no geographical index
    {0x21, "01"},                 // voice over LTE
    {0x29, "01", 0},              // and over IMS,
    {0x2A, "01 00 00 00", 0},     // which calls use
    {0x27, "01 00 00 00", 0x28},  // the SIM is not rejected
    {0x4E, "01", 0x50},           // dual connectivity with NR is available,
    {0x4F, "00", 0x51},           // not restricted
};

struct network_news {
  watched by;
  std::uint16_t indication;
  std::span<const nas_row> registered;
  std::uint8_t otherwise_tlv;
  const char* otherwise;
};
constexpr network_news serving_system{watched::serving_system, 0x0024, serving_rows, 0x01,
                                      "00 02 02 02 00"};
constexpr network_news system_info{watched::system_info, 0x004E, system_rows, 0x14, "00 00 00"};

tlv_writer told(const network_news& news, const std::optional<registration>& now,
                bool is_indication) {
  tlv_writer out;
  if (now) {
    write(news.registered, *now, is_indication, out);
  } else {
    out.bytes(news.otherwise_tlv, bytes_of_hex(news.otherwise));
  }
  return out;
}

template <const network_news& news>
reply tell_news(const request& asked) {
  return told(news, registration_of(asked.state), false);
}

reply register_indications(const request& asked) {
  watch(asked, 0x13, watched::serving_system);
  watch(asked, 0x18, watched::system_info);
  return error::none;
}

// Networks.

constexpr value_row<modem> home_network[] = {
    {value_tlv, [](modem& /*state*/) { return name_of(radio_network()); }},
    {0x12, "01 00"},  // its code has two digits
};
/// 001 01 with LTE and NR.
constexpr value_row<modem> preferred_networks[] = {{0x10, "01 00 01 00 01 00 00 48"}};

constexpr nas_row operator_name_rows[] = {
    {0x10, [](const registration& /*now*/) { return packed().u8(0).counted_text(operator_name); }},
    {0x13, [](const registration& /*now*/) { return packed().text(operator_name); }},
};

reply scan_networks(const request& asked) {
  // Current, home and preferred; the other is available and not forbidden.
  constexpr std::uint8_t own_status = 1 | 4 | 32 | 64;
  constexpr std::uint8_t other_status = 2 | 8 | 32 | 128;
  constexpr radio_network other{1, 2, 2};
  if (asked.state.mode() != device_mode::online) return error::network_not_ready;
  const struct {
    const radio_network& network;
    std::uint8_t status;
    const char* name;
  } found[] = {{asked.state.radio.means.network, own_status, operator_name},
               {other, other_status, "Fernhill"}};
  packed networks = packed().u16(std::size(found));
  packed radios = networks;
  for (const auto& [network, status, name] : found) {
    networks.u16(network.mcc).u16(network.mnc).u8(status).counted_text(name);
    radios.u16(network.mcc).u16(network.mnc).u8(radio_lte);
  }
  return tlv_writer()
      .bytes(0x10, networks.view())
      .bytes(0x11, radios.view())
      .integer(0x13, std::uint32_t{0});
}

/// Whether the TLV begins with the codes of the modem's network.
bool names_own_network(const request& asked, std::uint8_t tlv) {
  fields in(asked, tlv);
  const auto mcc = in.next<std::uint16_t>();
  const auto mnc = in.next<std::uint16_t>();
  const radio_network& own = asked.state.radio.means.network;
  return mcc == own.mcc && mnc == own.mnc;
}

/// There is one network, so a manual choice of another one finds none.
reply register_at_network(const request& asked) {
  constexpr std::uint8_t manual = 2;
  if (take<std::uint8_t>(asked, value_tlv) != manual) {
    return registration_of(asked.state) ? error::no_effect : error::none;
  }
  return names_own_network(asked, 0x10) ? error::none : error::network_not_ready;
}

reply attach_to_packet_service(const request& asked) {
  constexpr std::uint8_t attach = 1;
  constexpr std::uint8_t detach = 2;
  const auto action = take<std::uint8_t>(asked, 0x10);
  if (action != attach && action != detach) return error::invalid_argument;
  if (asked.state.is_attached == (action == attach)) return error::no_effect;
  asked.state.is_attached = action == attach;
  reply out = error::none;
  indicate_network(asked.state, out);
  return out;
}

reply get_plmn_name(const request& asked) {
  if (!names_own_network(asked, value_tlv)) return error::information_unavailable;
  packed names;
  names.u8(0).counted_text(operator_name);
  names.u8(0).u8(0).u8(0).counted_text(operator_name);  // short
  names.u8(0).u8(0).u8(0).counted_text(operator_name);  // long
  return tlv_writer().bytes(0x10, names.view());
}

packed utc_now(const registration& /*now*/) {
  using namespace std::chrono;
  const auto now = floor<seconds>(system_clock::now());
  const sys_days day = floor<days>(now);
  const year_month_day date(day);
  const hh_mm_ss time(now - day);
  packed out;
  out.u16(static_cast<std::uint16_t>(static_cast<int>(date.year())));
  out.u8(static_cast<std::uint8_t>(static_cast<unsigned>(date.month())));
  out.u8(static_cast<std::uint8_t>(static_cast<unsigned>(date.day())));
  out.u8(static_cast<std::uint8_t>(time.hours().count()));
  out.u8(static_cast<std::uint8_t>(time.minutes().count()));
  out.u8(static_cast<std::uint8_t>(time.seconds().count()));
  return out.u8(static_cast<std::uint8_t>(weekday(day).iso_encoding() - 1))
      .u8(0)
      .u8(0)
      .u8(radio_lte);
}
constexpr nas_row network_time[] = {{0x10, utc_now}};

constexpr value_row<modem> drx[] = {{0x10, "01 00 00 00"}};

// The choice.

/// Some radio that the modem has, and none besides.
bool is_mode(protocol::byte_view value) {
  constexpr std::uint16_t known = 0x005C;
  const auto mask = protocol::load_le<std::uint16_t>(value);
  return mask != 0 && (mask & ~known) == 0;
}

constexpr kept_row preferences[] = {
    {0x10, 0x10, 1, "00"},
    {0x11, 0x11, 2, "5c 00", is_mode},  // GSM, UMTS, LTE and NR
    {0x12, 0x12, 8, "80 03 40 00 00 00 02 00"},
    {0x14, 0x14, 2, "ff 00"},
    {0x15, 0x15, 8, "c5 00 08 08 00 00 00 00"},
    {0x16, 0x16, 5, "00"},
    {0x18, 0x18, 4, "02 00 00 00"},
    {0x19, 0x19, 4, "00 00 00 00"},
    {0x1C, 0x1E, 0, "02 08 0c"},
    {0x1D, 0x1F, 4, "00 00 00 00"},
    {0x1F, 0x21, 4, "02 00 00 00"},
    {0x20, 0x23, 4, "03 00 00 00"},
    {0x22, 0, 0, "00 00"},
};

reply get_selection(const request& asked) {
  return tell_kept(preferences, asked.state.selection);
}

reply set_selection(const request& asked) {
  reply out = set_kept(preferences, asked.tlvs, asked.state.selection);
  if (out.result == error::none) indicate_network(asked.state, out);
  return out;
}

constexpr message_row rows[] = {
    {0x0002, "set event report", accept},
    {0x0003, "register indications", register_indications},
    {0x0021, "scan networks", scan_networks},
    {0x0022, "initiate network register", register_at_network},
    {0x0023, "attach or detach", attach_to_packet_service},
    {0x0024, "get serving system", tell_news<serving_system>},
    {0x0025, "get home network", tell<home_network>},
    {0x0026, "get preferred networks", tell<preferred_networks>},
    {0x0033, "set system selection preference", set_selection},
    {0x0034, "get system selection preference", get_selection},
    {0x0039, "get operator name", tell<operator_name_rows, registered>},
    {0x0044, "get PLMN name", get_plmn_name},
    {0x004D, "get system info", tell_news<system_info>},
    {0x0050, "config signal info", accept},
    {0x0067, "force network search", accept},
    {0x006C, "config signal info", accept},
    {0x007D, "get network time", tell<network_time, registered>},
    {0x0089, "get DRX", tell<drx>},
};

}  // namespace

void indicate_network(modem& state, reply& out) {
  const auto now = registration_of(state);
  for (const network_news* const each : {&serving_system, &system_info}) {
    indicate(out, state, each->by,
             {{}, each->indication, told(*each, now, true).take(), nas_service_id_v01});
  }
}

std::span<const message_row> nas_messages() {
  return rows;
}

}  // namespace sim
