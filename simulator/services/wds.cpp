// WDS, the standard service of packet data: a call for each client, and the profiles of calls. No
// packets are carried.
#include <algorithm>

#include "simulator/services/handlers.h"
#include "simulator/services/messages.h"

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qmi::error;
using protocol::qmi::find_tlv;
using protocol::qmi::tlv_writer;
using row = value_row<modem>;

constexpr std::uint32_t any_call = 0xFFFFFFFF;
constexpr std::uint32_t own_call = 0x01000001;  ///< a client has one at most
constexpr std::uint8_t default_profile = 1;

/// The settings of a profile that are kept.
constexpr std::uint8_t settings_tlvs[] = {
    profile_tlv::name, profile_tlv::pdp_type, profile_tlv::apn, 0x1B, 0x1C, 0x1D, 0x25, 0x2F, 0x3E};

std::map<std::uint8_t, data_profile>& profiles_of(modem& state) {
  return state.data.all_profiles();
}

data_profile first_profile() {
  return data_service().all_profiles().at(default_profile);
}

bool is_attached(modem& state) {
  return state.seen_by(0) && state.is_attached;
}

bool has_call(const request& asked) {
  return asked.state.data.calls.contains(asked.from) && is_attached(asked.state);
}

reply indicated(const request& asked, bool is_connected, reply out) {
  constexpr std::uint16_t packet_status = 0x0022;
  constexpr std::uint8_t connected = 2;
  constexpr std::uint8_t disconnected = 1;
  tlv_writer told;
  told.bytes(value_tlv, packed().u8(is_connected ? connected : disconnected).u8(0).view());
  out.indications.push_back({asked.from, packet_status, told.take()});
  return out;
}

reply start_call(const request& asked) {
  const auto profile = protocol::qmi::find_integer<std::uint8_t>(asked.tlvs, 0x31);
  if (profile && !profiles_of(asked.state).contains(*profile)) return error::invalid_profile;
  if (!is_attached(asked.state)) {
    // No service, which the call manager says.
    reply out = error::call_failed;
    out.tlvs.bytes(0x10, bytes_of_hex("03 00")).bytes(0x11, bytes_of_hex("03 00 03 00"));
    return out;
  }
  reply out = has_call(asked) ? error::no_effect : error::none;
  // NOLINTNEXTLINE(readability-suspicious-call-argument): a type, then a value.
  out.tlvs.integer(value_tlv, own_call);
  if (out.result != error::none) return out;
  asked.state.data.calls.insert(asked.from);
  return indicated(asked, true, std::move(out));
}

reply stop_call(const request& asked) {
  const auto which = take<std::uint32_t>(asked, value_tlv);
  if (which != any_call && which != own_call) return error::invalid_handle;
  if (asked.state.data.calls.erase(asked.from) == 0) return error::no_effect;
  return indicated(asked, false, error::none);
}

reply get_packet_status(const request& asked) {
  return tlv_writer().integer(value_tlv, static_cast<std::uint8_t>(has_call(asked) ? 2 : 1));
}

/// Bits per second, up and down, now and at most.
constexpr row rates[] = {{value_tlv, "80 f0 fa 02 00 a3 e1 11 80 f0 fa 02 00 a3 e1 11"}};

/// No packets are carried, so all counters are 0; the mask chooses among the first ten TLVs.
reply get_statistics(const request& asked) {
  constexpr std::uint8_t zeros[8] = {};
  constexpr struct {
    std::uint8_t tlv;
    std::size_t size;
  } counters[] = {{0x10, 4}, {0x11, 4}, {0x12, 4}, {0x13, 4}, {0x14, 4},
                  {0x15, 4}, {0x19, 8}, {0x1A, 8}, {0x1D, 4}, {0x1E, 4}};
  auto mask = take<std::uint32_t>(asked, value_tlv);
  if (!has_call(asked)) {
    reply out = error::out_of_call;
    out.tlvs.bytes(0x1B, zeros).bytes(0x1C, zeros);  // of the last call
    return out;
  }
  tlv_writer chosen;
  for (const auto& [tlv, size] : counters) {
    if ((mask & 1) != 0) chosen.bytes(tlv, byte_view(zeros).first(size));
    mask >>= 1;
  }
  return chosen;
}

void write_settings(const data_profile& settings, tlv_writer& out) {
  for (const auto& [tlv, value] : settings) out.bytes(tlv, value);
}

/// Addresses of the documentation's networks.
constexpr row call_settings[] = {
    {0x15, "35 02 00 c0"},                         // DNS servers
    {0x16, "36 02 00 c0"}, {0x1E, "02 02 00 c0"},  // the modem
    {0x1F, "00 01"},                               // the profile
    {0x20, "01 02 00 c0"},                         // the gateway
    {0x21, "00 ff ff ff"},                         // the mask
    {0x29, "dc 05 00 00"},                         // the most bytes of a packet: 1500
    {0x2B, "04"},                                  // IPv4
};

reply get_call_settings(const request& asked) {
  if (!has_call(asked)) return error::out_of_call;
  const auto& profiles = profiles_of(asked.state);
  const auto used = profiles.find(default_profile);
  reply out = error::none;
  write_settings(used == profiles.end() ? first_profile() : used->second, out.tlvs);
  write(call_settings, asked.state, false, out.tlvs);
  return out;
}

// Profiles.

[[noreturn]] void refuse_profile(std::uint16_t why) {
  reply out = error::extended_internal;
  out.tlvs.integer(0xE0, why);
  throw refused{std::move(out)};
}

std::uint8_t profile_in(const request& asked) {
  constexpr std::uint16_t invalid_number = 5;
  fields in(asked, value_tlv);
  const auto type = in.next<std::uint8_t>();
  const auto number = in.next<std::uint8_t>();
  in.end();
  if (type != 0 || !profiles_of(asked.state).contains(number)) refuse_profile(invalid_number);
  return number;
}

void take_settings(const request& asked, data_profile& to) {
  for (const std::uint8_t tlv : settings_tlvs) {
    if (const auto value = find_tlv(asked.tlvs, tlv)) to[tlv] = copied(*value);
  }
}

reply create_profile(const request& asked) {
  constexpr std::uint16_t out_of_profiles = 1006;
  static_cast<void>(fields(asked, value_tlv).next<std::uint8_t>());  // there is one type
  auto& profiles = profiles_of(asked.state);
  std::uint8_t number = 1;
  while (profiles.contains(number)) ++number;
  if (number > last_data_profile) refuse_profile(out_of_profiles);
  take_settings(asked, profiles[number]);
  return tlv_writer().bytes(value_tlv, packed().u8(0).u8(number).view());
}

reply modify_profile(const request& asked) {
  take_settings(asked, profiles_of(asked.state)[profile_in(asked)]);
  return error::none;
}

reply delete_profile(const request& asked) {
  profiles_of(asked.state).erase(profile_in(asked));
  return error::none;
}

packed list_profiles(modem& state) {
  const auto& profiles = profiles_of(state);
  packed list = packed().u8(static_cast<std::uint8_t>(profiles.size()));
  for (const auto& [number, settings] : profiles) {
    const auto name = settings.find(profile_tlv::name);
    list.u8(0).u8(number).counted(name == settings.end() ? byte_view() : byte_view(name->second));
  }
  return list;
}
constexpr row profile_list[] = {{value_tlv, list_profiles}};

reply get_profile(const request& asked) {
  tlv_writer out;
  write_settings(profiles_of(asked.state)[profile_in(asked)], out);
  return out;
}

reply get_default_settings(const request& /*asked*/) {
  tlv_writer out;
  write_settings(first_profile(), out);
  return out;
}

// The bearer.

constexpr row lte_bearer[] = {{value_tlv, "0a"}};
constexpr row current_bearer[] = {{value_tlv, "02 20 00 00 00 00 00 00 00"}};  // of 3GPP, LTE

packed dormancy_of(modem& state) {
  constexpr std::uint8_t dormant = 1;
  constexpr std::uint8_t active = 2;
  const auto seen = state.seen_by(0);
  return packed().u8(seen && seen->rrc == lte_rrc_state::connected ? active : dormant);
}
constexpr row dormancy[] = {{value_tlv, dormancy_of}};

constexpr row autoconnect[] = {
    {value_tlv, [](modem& state) { return packed().u8(state.data.autoconnect); }},
    {0x10, "00"},
};

reply set_autoconnect(const request& asked) {
  const auto on = take<std::uint8_t>(asked, value_tlv);
  if (on > 2) return error::invalid_argument;
  asked.state.data.autoconnect = on;
  return error::none;
}

modem& attached(const request& asked) {
  if (!is_attached(asked.state)) refuse(error::information_unavailable);
  return asked.state;
}
/// The APN "internet", both families, and that it is attached.
constexpr row attach_parameters[] = {{0x10, "69 6e 74 65 72 6e 65 74"}, {0x11, "02"}, {0x12, "01"}};

constexpr row default_number[] = {{value_tlv, "01"}};
constexpr row most_attached[] = {{0x10, "01"}};
constexpr row attach_list[] = {{0x10, "01 01 00"}, {0x11, "01 01 00"}};

constexpr message_row rows[] = {
    {0x0001, "set event report", accept},
    {0x0003, "register indications", accept},
    {0x0020, "start network", start_call},
    {0x0021, "stop network", stop_call},
    {0x0022, "get packet service status", get_packet_status},
    {0x0023, "get channel rates", tell<rates>},
    {0x0024, "get packet statistics", get_statistics},
    {0x0027, "create profile", create_profile},
    {0x0028, "modify profile", modify_profile},
    {0x0029, "delete profile", delete_profile},
    {0x002A, "get profile list", tell<profile_list>},
    {0x002B, "get profile settings", get_profile},
    {0x002C, "get default settings", get_default_settings},
    {0x002D, "get current settings", get_call_settings},
    {0x0030, "get dormancy status", tell<dormancy>},
    {0x0034, "get autoconnect settings", tell<autoconnect>},
    {0x0037, "get data bearer technology", tell<lte_bearer>},
    {0x0044, "get current data bearer technology", tell<current_bearer>},
    {0x0049, "get default profile number", tell<default_number>},
    {0x004D, "set IP family", accept},
    {0x0051, "set autoconnect settings", set_autoconnect},
    {0x0085, "get LTE attach parameters", tell<attach_parameters, attached>},
    {0x0089, "bind data port", accept},
    {0x0092, "get LTE max attach PDNs", tell<most_attached>},
    {0x0094, "get LTE attach PDN list", tell<attach_list>},
    {0x00A2, "bind mux data port", accept},
};

}  // namespace

std::span<const message_row> wds_messages() {
  return rows;
}

}  // namespace sim
