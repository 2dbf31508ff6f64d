// NAS: which network the modem is in, and where.
#include <chrono>

#include "simulator/modem/identity.h"
#include "simulator/modem/receive_paths.h"
#include "simulator/services/handlers.h"
#include "simulator/services/nas.h"
#include "simulator/services/network_indications.h"

namespace sim {
namespace {

using protocol::qmi::error;
using protocol::qmi::tlv_writer;

constexpr unsigned subscription = 0;
constexpr std::uint8_t radio_lte = 8;
constexpr std::uint8_t radio_nr = 12;
constexpr std::uint8_t no_value = 0;

/// What the registration is, in the parts that messages are made of.
struct registration {
  std::optional<radio_values> seen;
  bool is_attached = false;

  [[nodiscard]] bool is_roaming() const {
    const radio_network home;
    return seen->network.mcc != home.mcc || seen->network.mnc != home.mnc;
  }
};

registration registration_of(modem& state) {
  return {state.seen_by(subscription), state.is_attached};
}

std::uint8_t three_digits(const radio_network& network) {
  return network.mnc_digits == 3 ? 1 : 0;
}

/// As 3GPP TS 24.008 writes a network in three bytes.
std::vector<std::uint8_t> plmn_of(const radio_network& network) {
  const auto digit = [](unsigned number, unsigned power) { return number / power % 10; };
  const bool is_long = network.mnc_digits == 3;
  const unsigned mnc = is_long ? network.mnc : network.mnc * 10U;
  const unsigned third = is_long ? digit(mnc, 1) : 0xF;
  return {static_cast<std::uint8_t>(digit(network.mcc, 100) | digit(network.mcc, 10) << 4),
          static_cast<std::uint8_t>(digit(network.mcc, 1) | third << 4),
          static_cast<std::uint8_t>(digit(mnc, 100) | digit(mnc, 10) << 4)};
}

/// Three characters each; a network code of two digits ends in FF.
std::vector<std::uint8_t> plmn_text(const radio_network& network) {
  const auto character = [](unsigned number, unsigned power) {
    return static_cast<std::uint8_t>('0' + number / power % 10);
  };
  const bool is_long = network.mnc_digits == 3;
  const unsigned mnc = is_long ? network.mnc : network.mnc * 10U;
  return {character(network.mcc, 100), character(network.mcc, 10),
          character(network.mcc, 1),   character(mnc, 100),
          character(mnc, 10),          is_long ? character(mnc, 1) : std::uint8_t{0xFF}};
}

packed name_of(const radio_network& network) {
  return packed().u16(network.mcc).u16(network.mnc).counted_text(operator_name);
}

/// A value, and its TLV in a response and in the indication, which number them differently.
/// TLV 0: not there.
template <typename Content>
struct value_row {
  std::uint8_t in_response;
  std::uint8_t in_indication;
  packed (*value)(const Content& from);
};

template <typename Content>
void write_rows(std::span<const value_row<Content>> rows, const Content& from, bool is_indication,
                tlv_writer& out) {
  for (const auto& row : rows) {
    const std::uint8_t tlv = is_indication ? row.in_indication : row.in_response;
    if (tlv != 0) out.bytes(tlv, row.value(from).view());
  }
}

packed serving(const registration& now) {
  constexpr std::uint8_t registered = 1;
  constexpr std::uint8_t attached = 1;
  constexpr std::uint8_t detached = 2;
  constexpr std::uint8_t of_3gpp = 2;
  if (!now.seen) return packed().u8(0).u8(detached).u8(detached).u8(of_3gpp).u8(0);
  packed out;
  out.u8(registered).u8(attached).u8(now.is_attached ? attached : detached).u8(of_3gpp);
  return out.u8(1).u8(radio_lte);
}

/// Only while registered, after the serving system itself.
constexpr value_row<registration> serving_rows[] = {
    {0x10, 0x10, [](const registration& now) { return packed().u8(now.is_roaming() ? 0 : 1); }},
    {0x11, 0x11, [](const registration& /*now*/) { return packed().u8(1).u8(11); }},  // LTE
    {0x12, 0x12, [](const registration& now) { return name_of(now.seen->network); }},
    {0x1A, 0x1A, [](const registration& /*now*/) { return packed().u8(0); }},  // UTC
    {0x1B, 0x1B, [](const registration& /*now*/) { return packed().u8(0); }},
    {0x1D, 0x1E, [](const registration& now) { return packed().u32(now.seen->lte.cell_identity); }},
    {0x21, 0x22,
     [](const registration& now) {
       constexpr std::uint8_t available = 2;
       return packed().u8(available).u8(now.is_attached ? 3 : 1).u8(0).u8(0).u8(0);
     }},
    {0x24, 0x25, [](const registration& now) { return packed().u16(now.seen->lte.tracking_area); }},
    {0x27, 0x29,
     [](const registration& now) {
       const radio_network& network = now.seen->network;
       return packed().u16(network.mcc).u16(network.mnc).u8(three_digits(network));
     }},
};

void write_serving_system(const registration& now, bool is_indication, tlv_writer& out) {
  out.bytes(value_tlv, serving(now).view());
  if (now.seen) write_rows<registration>(serving_rows, now, is_indication, out);
}

/// The part that all radios' information begins with, and the tracking area after it.
packed cell_information(const registration& now, std::uint32_t cell, bool has_area) {
  constexpr std::uint8_t valid = 1;
  const std::uint8_t domain = now.is_attached ? 3 : 1;
  packed out;
  out.u8(valid).u8(domain).u8(valid).u8(domain).u8(valid).u8(now.is_roaming() ? 1 : 0);
  out.u8(valid).u8(no_value);    // not forbidden
  out.u8(no_value).u16(0xFFFF);  // no location area
  out.u8(valid).u32(cell);
  out.u8(no_value).u8(no_value).u8(no_value);  // not rejected
  out.u8(valid).raw(plmn_text(now.seen->network));
  return out.u8(has_area ? valid : no_value).u16(now.seen->lte.tracking_area);
}

packed available(const registration& /*now*/) {
  constexpr std::uint8_t service = 2;
  return packed().u8(service).u8(service).u8(1);
}

constexpr value_row<registration> system_rows[] = {
    {0x14, 0x14, available},
    {0x19, 0x19,
     [](const registration& now) {
       return cell_information(now, now.seen->lte.cell_identity, true);
     }},
    {0x1E, 0x1E, [](const registration& /*now*/) { return packed().u16(0xFFFF); }},
    {0x21, 0x21, [](const registration& /*now*/) { return packed().u8(1); }},
    {0x29, 0, [](const registration& /*now*/) { return packed().u8(1); }},
    {0x2A, 0, [](const registration& /*now*/) { return packed().u32(1); }},  // calls over IMS
    {0x27, 0x28, [](const registration& /*now*/) { return packed().u32(1); }},
    {0x4E, 0x50, [](const registration& /*now*/) { return packed().u8(1); }},
    {0x4F, 0x51, [](const registration& /*now*/) { return packed().u8(0); }},
};

void write_system_info(const registration& now, bool is_indication, tlv_writer& out) {
  if (now.seen) return write_rows<registration>(system_rows, now, is_indication, out);
  constexpr std::uint8_t no_service = 0;
  constexpr std::uint8_t lte_status_tlv = 0x14;
  out.bytes(lte_status_tlv, packed().u8(no_service).u8(no_service).u8(0).view());
}

/// Whether the TLV begins with the codes of the modem's network.
bool names_own_network(const request& asked, std::uint8_t tlv) {
  fields in(asked, tlv);
  const auto mcc = in.next<std::uint16_t>();
  const auto mnc = in.next<std::uint16_t>();
  const radio_network& own = asked.state.radio.means.network;
  return mcc == own.mcc && mnc == own.mnc;
}

}  // namespace

void indicate_network(modem& state, reply& out) {
  const registration now = registration_of(state);
  tlv_writer serving_system;
  write_serving_system(now, true, serving_system);
  indicate(out, state, watched::serving_system,
           {{}, 0x0024, serving_system.take(), nas_service_id_v01});
  tlv_writer system_info;
  write_system_info(now, true, system_info);
  indicate(out, state, watched::system_info, {{}, 0x004E, system_info.take(), nas_service_id_v01});
}

reply register_nas_indications(const request& asked) {
  watch(asked, 0x13, watched::serving_system);
  watch(asked, 0x18, watched::system_info);
  return error::none;
}

reply get_serving_system(const request& asked) {
  reply out = error::none;
  write_serving_system(registration_of(asked.state), false, out.tlvs);
  return out;
}

reply get_system_info(const request& asked) {
  reply out = error::none;
  write_system_info(registration_of(asked.state), false, out.tlvs);
  return out;
}

reply get_home_network(const request& /*asked*/) {
  constexpr radio_network home;
  return tlv_writer()
      .bytes(value_tlv, name_of(home).view())
      .bytes(0x12, packed().u8(1).u8(three_digits(home)).view());
}

reply get_preferred_networks(const request& /*asked*/) {
  constexpr radio_network home;
  constexpr std::uint16_t lte_and_nr = 0x4800;
  return tlv_writer().bytes(0x10,
                            packed().u16(1).u16(home.mcc).u16(home.mnc).u16(lte_and_nr).view());
}

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
  packed networks;
  packed radios;
  networks.u16(static_cast<std::uint16_t>(std::size(found)));
  radios.u16(static_cast<std::uint16_t>(std::size(found)));
  for (const auto& [network, status, name] : found) {
    networks.u16(network.mcc).u16(network.mnc).u8(status).counted_text(name);
    radios.u16(network.mcc).u16(network.mnc).u8(radio_lte);
  }
  return tlv_writer()
      .bytes(0x10, networks.view())
      .bytes(0x11, radios.view())
      .integer(0x13, std::uint32_t{0});
}

/// There is one network, so a manual choice of another one finds none.
reply register_at_network(const request& asked) {
  constexpr std::uint8_t manual = 2;
  if (take<std::uint8_t>(asked, value_tlv) != manual) {
    return asked.state.seen_by(subscription) ? error::no_effect : error::none;
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

reply get_operator_name(const request& asked) {
  static_cast<void>(seen_now(asked));
  return tlv_writer()
      .bytes(0x10, packed().u8(0).counted_text(operator_name).view())
      .bytes(0x13, packed().text(operator_name).view());
}

reply get_plmn_name(const request& asked) {
  if (!names_own_network(asked, value_tlv)) return error::information_unavailable;
  reply out = error::none;
  packed names;
  names.u8(0).counted_text(operator_name);
  names.u8(0).u8(0).u8(0).counted_text(operator_name);  // short
  names.u8(0).u8(0).u8(0).counted_text(operator_name);  // long
  out.tlvs.bytes(0x10, names.view());
  return out;
}

reply get_cell_location(const request& asked) {
  const radio_values seen = seen_now(asked);
  const lte_cell& lte = seen.lte;
  const nr_cell& nr = seen.nr;
  constexpr double tenth = 10;
  const auto plmn = plmn_of(seen.network);
  const bool is_idle = seen.rrc != lte_rrc_state::connected;
  packed serving_cells;
  serving_cells.u8(is_idle ? 1 : 0).raw(plmn).u16(lte.tracking_area).u32(lte.cell_identity);
  serving_cells.u16(narrow_channel(lte)).u16(lte.pci).u8(5).u8(10).u8(8).u8(62).u8(1);
  serving_cells.u16(lte.pci).s16(tenth * lte.rsrq).s16(tenth * lte.rsrp).s16(tenth * lte.rssi());
  serving_cells.s16(lte.rsrp + 125);
  packed nr_cell_info;
  nr_cell_info.raw(plmn).u8(0).u8(0).u8(1).u64(lte.cell_identity).u16(nr.pci);
  nr_cell_info.s16(tenth * nr.rsrq).s16(tenth * nr.rsrp).s16(tenth * nr.sinr);
  return tlv_writer()
      .bytes(0x13, serving_cells.view())
      .integer(0x1E, std::uint32_t{1})
      .integer(0x2E, nr.arfcn)
      .bytes(0x2F, nr_cell_info.view());
}

reply get_transmission(const request& asked) {
  const auto radio = take<std::uint8_t>(asked, value_tlv);
  const radio_values seen = seen_now(asked);
  if (radio != radio_lte && radio != radio_nr) return error::invalid_argument;
  constexpr double tenth = 10;
  constexpr std::uint32_t no_phase = 0xFFFFFFFF;
  constexpr std::uint8_t chains[receive_antennas] = {0x10, 0x11, 0x15, 0x16};
  reply out = error::none;
  for (unsigned antenna = 0; antenna < receive_antennas; ++antenna) {
    const lte_cell lte = at_antenna(seen.lte, antenna);
    const nr_cell nr = at_antenna(seen.nr, antenna);
    const double power = radio == radio_lte ? lte.rssi() : rssi(nr);
    const double rsrp = radio == radio_lte ? lte.rsrp : nr.rsrp;
    packed chain;
    chain.u8(1).s32(tenth * power).s32(0).s32(0).s32(tenth * rsrp).u32(no_phase);
    out.tlvs.bytes(chains[antenna], chain.view());
  }
  const bool is_sending = seen.rrc == lte_rrc_state::connected;
  out.tlvs.bytes(0x12, packed().u8(is_sending ? 1 : 0).s32(is_sending ? 120 : 0).view());
  return out;
}

reply get_network_time(const request& asked) {
  static_cast<void>(seen_now(asked));
  using namespace std::chrono;
  const auto now = floor<seconds>(system_clock::now());
  const sys_days day = floor<days>(now);
  const year_month_day date(day);
  const hh_mm_ss time(now - day);
  packed value;
  value.u16(static_cast<std::uint16_t>(static_cast<int>(date.year())));
  value.u8(static_cast<std::uint8_t>(static_cast<unsigned>(date.month())));
  value.u8(static_cast<std::uint8_t>(static_cast<unsigned>(date.day())));
  value.u8(static_cast<std::uint8_t>(time.hours().count()));
  value.u8(static_cast<std::uint8_t>(time.minutes().count()));
  value.u8(static_cast<std::uint8_t>(time.seconds().count()));
  value.u8(static_cast<std::uint8_t>(weekday(day).iso_encoding() - 1)).u8(0).u8(0).u8(radio_lte);
  return tlv_writer().bytes(0x10, value.view());
}

}  // namespace sim
