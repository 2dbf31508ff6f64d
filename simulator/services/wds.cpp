#include "simulator/services/wds.h"

#include <algorithm>

#include "simulator/services/handlers.h"

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qmi::error;
using protocol::qmi::find_tlv;
using protocol::qmi::tlv_writer;

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

bool has_call(const request& asked) {
  return asked.state.data.calls.contains(asked.from) && asked.state.seen_by(0) &&
         asked.state.is_attached;
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
  constexpr std::uint16_t no_service = 3;
  constexpr std::uint16_t call_manager = 3;
  constexpr std::uint8_t reason_tlv = 0x10;
  constexpr std::uint8_t verbose_reason_tlv = 0x11;
  const auto profile = protocol::qmi::find_integer<std::uint8_t>(asked.tlvs, 0x31);
  if (profile && !profiles_of(asked.state).contains(*profile)) return error::invalid_profile;
  if (!asked.state.seen_by(0) || !asked.state.is_attached) {
    reply out = error::call_failed;
    out.tlvs.integer(reason_tlv, no_service)
        .bytes(verbose_reason_tlv, packed().u16(call_manager).u16(no_service).view());
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

void rates(modem& /*state*/, tlv_writer& out) {
  constexpr std::uint32_t up = 50'000'000;
  constexpr std::uint32_t down = 300'000'000;
  out.bytes(value_tlv, packed().u32(up).u32(down).u32(up).u32(down).view());
}

/// No packets are carried, so all counters are 0; the mask chooses among the first ten TLVs.
reply get_statistics(const request& asked) {
  constexpr std::uint8_t counters[] = {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x19, 0x1A, 0x1D, 0x1E};
  const auto mask = take<std::uint32_t>(asked, value_tlv);
  const bool is_connected = has_call(asked);
  reply out = is_connected ? error::none : error::out_of_call;
  for (std::size_t i = 0; is_connected && i < std::size(counters); ++i) {
    if ((mask >> i & 1) == 0) continue;
    const bool is_bytes = counters[i] == 0x19 || counters[i] == 0x1A;
    if (is_bytes) {
      out.tlvs.integer(counters[i], std::uint64_t{0});
    } else {
      out.tlvs.integer(counters[i], std::uint32_t{0});
    }
  }
  if (!is_connected) out.tlvs.integer(0x1B, std::uint64_t{0}).integer(0x1C, std::uint64_t{0});
  return out;
}

/// Addresses of the documentation's networks.
reply get_call_settings(const request& asked) {
  if (!has_call(asked)) return error::out_of_call;
  const auto ipv4 = [](std::uint8_t last) { return 0xC0000200U | last; };
  const auto& profiles = profiles_of(asked.state);
  const auto used = profiles.find(default_profile);
  const data_profile profile = used == profiles.end() ? first_profile() : used->second;
  reply out = error::none;
  for (const auto& [tlv, value] : profile) out.tlvs.bytes(tlv, value);
  out.tlvs.integer(0x15, ipv4(53))
      .integer(0x16, ipv4(54))
      .integer(0x1E, ipv4(2))
      .bytes(0x1F, packed().u8(0).u8(default_profile).view())
      .integer(0x20, ipv4(1))
      .integer(0x21, 0xFFFFFF00U)
      .integer(0x29, 1500U)
      .integer(0x2B, std::uint8_t{4});
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
    if (const auto value = find_tlv(asked.tlvs, tlv)) to[tlv] = {value->begin(), value->end()};
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

void list_profiles(modem& state, tlv_writer& out) {
  const auto& profiles = profiles_of(state);
  packed list;
  list.u8(static_cast<std::uint8_t>(profiles.size()));
  for (const auto& [number, settings] : profiles) {
    const auto name = settings.find(profile_tlv::name);
    list.u8(0).u8(number).counted(name == settings.end() ? byte_view() : byte_view(name->second));
  }
  out.bytes(value_tlv, list.view());
}

void write_settings(const data_profile& settings, tlv_writer& out) {
  for (const auto& [tlv, value] : settings) out.bytes(tlv, value);
}

reply get_profile(const request& asked) {
  reply out = error::none;
  write_settings(profiles_of(asked.state)[profile_in(asked)], out.tlvs);
  return out;
}

void default_settings(modem& /*state*/, tlv_writer& out) {
  write_settings(first_profile(), out);
}

// The bearer.

void bearer(modem& /*state*/, tlv_writer& out) {
  constexpr std::uint8_t of_3gpp = 2;
  constexpr std::uint32_t lte = 1U << 5;
  out.bytes(value_tlv, packed().u8(of_3gpp).u32(lte).u32(0).view());
}

reply get_dormancy(const request& asked) {
  constexpr std::uint8_t dormant = 1;
  constexpr std::uint8_t active = 2;
  const auto seen = asked.state.seen_by(0);
  const bool is_active = seen && seen->rrc == lte_rrc_state::connected;
  return tlv_writer().integer(value_tlv, is_active ? active : dormant);
}

void autoconnect(modem& state, tlv_writer& out) {
  out.integer(value_tlv, state.data.autoconnect).integer(0x10, std::uint8_t{0});
}

reply set_autoconnect(const request& asked) {
  const auto on = take<std::uint8_t>(asked, value_tlv);
  if (on > 2) return error::invalid_argument;
  asked.state.data.autoconnect = on;
  return error::none;
}

reply get_attach_parameters(const request& asked) {
  constexpr std::uint8_t both_families = 2;
  if (!asked.state.seen_by(0) || !asked.state.is_attached) return error::information_unavailable;
  return tlv_writer()
      .bytes(0x10, packed().text("internet").view())
      .integer(0x11, both_families)
      .integer(0x12, std::uint8_t{1});
}

void attach_list(modem& /*state*/, tlv_writer& out) {
  const auto list = packed().u8(1).u16(default_profile);
  out.bytes(0x10, list.view()).bytes(0x11, list.view());
}

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
    {0x002A, "get profile list", tell<list_profiles>},
    {0x002B, "get profile settings", get_profile},
    {0x002C, "get default settings", tell<default_settings>},
    {0x002D, "get current settings", get_call_settings},
    {0x0030, "get dormancy status", get_dormancy},
    {0x0034, "get autoconnect settings", tell<autoconnect>},
    {0x0037, "get data bearer technology", tell_number<std::uint8_t, 10>},
    {0x0044, "get current data bearer technology", tell<bearer>},
    {0x0049, "get default profile number", tell_number<std::uint8_t, default_profile>},
    {0x004D, "set IP family", accept},
    {0x0051, "set autoconnect settings", set_autoconnect},
    {0x0085, "get LTE attach parameters", get_attach_parameters},
    {0x0089, "bind data port", accept},
    {0x0092, "get LTE max attach PDNs", tell_number<std::uint8_t, 1, 0x10>},
    {0x0094, "get LTE attach PDN list", tell<attach_list>},
    {0x00A2, "bind mux data port", accept},
};

}  // namespace

std::span<const message_row> wds_messages() {
  return rows;
}

}  // namespace sim
