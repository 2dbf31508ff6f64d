#include "simulator/at/at_commands.h"

#include <fmt/core.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>

#include "simulator/modem/identity.h"
#include "simulator/number.h"
#include "simulator/standard_error.h"

namespace sim {
namespace {

constexpr unsigned first_slot = 1;
constexpr unsigned subscription = 0;

/// Results that +CMEE shows as numbers or texts.
struct error_row {
  unsigned number;
  const char* text;
};
constexpr error_row errors[] = {
    {4, "operation not supported"}, {10, "SIM not inserted"}, {11, "SIM PIN required"},
    {12, "SIM PUK required"},       {13, "SIM failure"},      {30, "no network service"},
    {50, "incorrect parameters"},   {100, "unknown"},
};
constexpr unsigned no_sim = 10;
constexpr unsigned sim_failure = 13;
constexpr unsigned wrong_parameter = 50;
constexpr unsigned unknown = 100;

}  // namespace

struct at_rows {
  using outcome = at_commands::outcome;
  using argument = std::string_view;

  static outcome nothing(at_commands& /*at*/, argument /*of*/) { return {}; }
  static outcome identify(at_commands& /*at*/, argument /*of*/) {
    return {fmt::format("{}\r\n{}\r\n{}", modem_manufacturer, modem_model, TVK_MODEM_VERSION)};
  }
  template <bool on>
  static outcome set_echo(at_commands& at, argument /*of*/) {
    at.settings_.echo = on;
    return {};
  }
  static outcome put_back(at_commands& at, argument /*of*/) {
    at.settings_ = {};
    return {};
  }
  static outcome manufacturer(at_commands& /*at*/, argument /*of*/) { return {modem_manufacturer}; }
  static outcome model(at_commands& /*at*/, argument /*of*/) { return {modem_model}; }
  static outcome revision(at_commands& /*at*/, argument /*of*/) { return {TVK_MODEM_VERSION}; }
  static outcome imei(at_commands& at, argument /*of*/) {
    const std::string digits = imei_of(at.state_.nv);
    return digits.empty() ? outcome{{}, unknown} : outcome{digits};
  }
  static outcome capabilities(at_commands& /*at*/, argument /*of*/) { return {"+GCAP: +CGSM"}; }

  // The card.
  static outcome imsi(at_commands& at, argument /*of*/) {
    return find_card(at) ? outcome{usim::imsi} : outcome{{}, no_sim};
  }
  static outcome ccid(at_commands& at, argument /*of*/) {
    const auto found = find_card(at);
    return found ? outcome{"+CCID: " + usim::digits_of(found->iccid)} : outcome{{}, no_sim};
  }
  static outcome pin(at_commands& at, argument /*of*/) {
    if (!find_card(at)) return {{}, no_sim};
    const auto state = at.state_.usim.status(at.state_.uicc.physical_of(first_slot), 1).state;
    if (state == pin_state::blocked) return {"+CPIN: SIM PUK"};
    return {state == pin_state::not_verified ? "+CPIN: SIM PIN" : "+CPIN: READY"};
  }

  // The radio.
  static outcome signal(at_commands& at, argument /*of*/) {
    const auto seen = at.state_.seen_by(subscription);
    if (!seen) return {"+CSQ: 99,99"};
    const double steps = std::clamp(std::round((seen->lte.rssi() + 113) / 2), 0.0, 31.0);
    return {fmt::format("+CSQ: {},99", static_cast<int>(steps))};
  }
  static outcome extended_signal(at_commands& at, argument /*of*/) {
    const auto seen = at.state_.seen_by(subscription);
    if (!seen) return {"+CESQ: 99,99,255,255,255,255"};
    const double rsrq = std::clamp(std::round(2 * (seen->lte.rsrq + 20)), 0.0, 34.0);
    const double rsrp = std::clamp(std::round(seen->lte.rsrp + 141), 0.0, 97.0);
    return {
        fmt::format("+CESQ: 99,99,255,255,{},{}", static_cast<int>(rsrq), static_cast<int>(rsrp))};
  }
  static outcome operator_in_use(at_commands& at, argument /*of*/) {
    const auto seen = at.state_.seen_by(subscription);
    if (!seen) return {"+COPS: 0"};
    const radio_network& network = seen->network;
    return {
        fmt::format("+COPS: 0,2,\"{:03}{:0{}}\",7", network.mcc, network.mnc, network.mnc_digits)};
  }
  /// 1 full, 4 no radio, 0 the least.
  static outcome functionality(at_commands& at, argument /*of*/) {
    const device_mode mode = at.state_.mode();
    if (mode == device_mode::online) return {"+CFUN: 1"};
    return {mode == device_mode::mode_only_low_power ? "+CFUN: 0" : "+CFUN: 4"};
  }
  static outcome set_functionality(at_commands& at, argument of) {
    if (of != "0" && of != "1" && of != "4") return {{}, wrong_parameter};
    const device_mode off = of == "0" ? device_mode::mode_only_low_power : device_mode::low_power;
    at.state_.set_mode(of == "1" ? device_mode::online : off);
    return {};
  }

  // Registration, which four commands tell alike. The fourth is about 5G without LTE.
  static constexpr const char* registrations[] = {"+CREG", "+CGREG", "+CEREG", "+C5GREG"};
  template <std::size_t which>
  static outcome registration(at_commands& at, argument /*of*/) {
    constexpr bool is_standalone = which == 3;
    const auto seen = at.state_.seen_by(subscription);
    const unsigned report = at.settings_.reports[which];
    const bool is_in = seen && !is_standalone;
    std::string text = fmt::format("{}: {},{}", registrations[which], report, is_in ? 1 : 0);
    if (is_in && report == 2) {
      text +=
          fmt::format(",\"{:04X}\",\"{:08X}\",7", seen->lte.tracking_area, seen->lte.cell_identity);
    }
    return {text};
  }
  template <std::size_t which>
  static outcome set_registration(at_commands& at, argument of) {
    const auto report = parse_number(of, 0, 2);
    if (!report) return {{}, wrong_parameter};
    at.settings_.reports[which] = *report;
    return {};
  }

  // Packet data.
  static outcome attached(at_commands& at, argument /*of*/) {
    const bool is_in = at.state_.is_attached && at.state_.seen_by(subscription);
    return {is_in ? "+CGATT: 1" : "+CGATT: 0"};
  }
  static outcome contexts(at_commands& at, argument /*of*/) {
    std::string text;
    for (const auto& [number, profile] : at.state_.data.all_profiles()) {
      const std::uint8_t type = data_profile_type(profile);
      text += fmt::format("{}+CGDCONT: {},\"{}\",\"{}\",\"\",0,0", text.empty() ? "" : "\r\n",
                          number, pdp_names[type], data_profile_apn(profile));
    }
    return {text};
  }
  /// Number, type and APN, the last two in quotes; a number alone deletes.
  static outcome set_context(at_commands& at, argument of) {
    const auto comma = std::min(of.find(','), of.size());
    const auto number = parse_number(of.substr(0, comma), 1, last_data_profile);
    if (!number) return {{}, wrong_parameter};
    auto& profiles = at.state_.data.all_profiles();
    const auto key = static_cast<std::uint8_t>(*number);
    if (comma == of.size()) {
      profiles.erase(key);
      return {};
    }
    const argument rest = of.substr(comma + 1);
    const auto next = std::min(rest.find(','), rest.size());
    const auto type = unquoted(rest.substr(0, next));
    const auto apn =
        next == rest.size() ? std::optional<argument>("") : unquoted(rest.substr(next + 1));
    const auto* const known = type ? std::ranges::find(pdp_names, *type) : std::end(pdp_names);
    if (known == std::end(pdp_names) || !apn) return {{}, wrong_parameter};
    profiles[key] = made_data_profile(*apn, static_cast<std::uint8_t>(known - pdp_names));
    return {};
  }

  static outcome error_form(at_commands& at, argument /*of*/) {
    return {fmt::format("+CMEE: {}", at.settings_.errors)};
  }
  static outcome set_error_form(at_commands& at, argument of) {
    const auto form = parse_number(of, 0, 2);
    if (!form) return {{}, wrong_parameter};
    at.settings_.errors = *form;
    return {};
  }

 private:
  /// Numbers as profiles have them.
  static constexpr std::string_view pdp_names[] = {"IP", "PPP", "IPV6", "IPV4V6"};

  static std::optional<card> find_card(at_commands& at) {
    card found;
    if (at.state_.uicc.look_logical(first_slot, found) != card_error::none) return std::nullopt;
    return found.has_usim() ? std::optional(found) : std::nullopt;
  }
  static std::optional<argument> unquoted(argument text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') return std::nullopt;
    return text.substr(1, text.size() - 2);
  }
};

namespace {

struct at_row {
  std::string_view form;  ///< after "AT", up to the '=' that the argument follows
  at_rows::outcome (*answer)(at_commands& at, std::string_view argument);
};
constexpr at_row rows[] = {
    {"I", at_rows::identify},
    {"E0", at_rows::set_echo<false>},
    {"E1", at_rows::set_echo<true>},
    {"Z", at_rows::put_back},
    {"V1", at_rows::nothing},
    {"X4", at_rows::nothing},
    {"&C1", at_rows::nothing},
    {"+CGMI", at_rows::manufacturer},
    {"+GMI", at_rows::manufacturer},
    {"+CGMM", at_rows::model},
    {"+GMM", at_rows::model},
    {"+CGMR", at_rows::revision},
    {"+CGSN", at_rows::imei},
    {"+GCAP", at_rows::capabilities},
    {"+CIMI", at_rows::imsi},
    {"+CCID", at_rows::ccid},
    {"+ICCID", at_rows::ccid},
    {"+CPIN?", at_rows::pin},
    {"+CSQ", at_rows::signal},
    {"+CESQ", at_rows::extended_signal},
    {"+COPS?", at_rows::operator_in_use},
    {"+CFUN?", at_rows::functionality},
    {"+CFUN=", at_rows::set_functionality},
    {"+CREG?", at_rows::registration<0>},
    {"+CREG=", at_rows::set_registration<0>},
    {"+CGREG?", at_rows::registration<1>},
    {"+CGREG=", at_rows::set_registration<1>},
    {"+CEREG?", at_rows::registration<2>},
    {"+CEREG=", at_rows::set_registration<2>},
    {"+C5GREG?", at_rows::registration<3>},
    {"+C5GREG=", at_rows::set_registration<3>},
    {"+CGATT?", at_rows::attached},
    {"+CGDCONT?", at_rows::contexts},
    {"+CGDCONT=", at_rows::set_context},
    {"+CMEE?", at_rows::error_form},
    {"+CMEE=", at_rows::set_error_form},
};

std::string upper_case(std::string_view text) {
  std::string out(text);
  std::ranges::transform(out, out.begin(),
                         [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return out;
}

}  // namespace

/// Takes one command off the front of the line: a basic one is as long as its form, an extended one
/// reaches to a semicolon outside of quotes.
at_commands::outcome at_commands::run(std::string_view& rest) {
  const bool is_extended = rest.starts_with('+');
  std::size_t size = 0;
  for (bool quoted = false; size < rest.size() && (quoted || rest[size] != ';'); ++size) {
    if (rest[size] == '"') quoted = !quoted;
  }
  const std::string_view whole = rest.substr(0, size);
  const std::string form =
      upper_case(whole.substr(0, std::min(whole.find('='), whole.size() - 1) + 1));
  const auto* const row = std::ranges::find_if(rows, [&](const at_row& each) {
    return is_extended ? each.form == form : upper_case(rest).starts_with(each.form);
  });
  if (row == std::end(rows)) return {{}, unknown};
  rest.remove_prefix(is_extended ? size : row->form.size());
  if (rest.starts_with(';')) rest.remove_prefix(1);
  return row->answer(*this, whole.substr(std::min(whole.size(), row->form.size())));
}

std::string at_commands::final_error(unsigned number) const {
  // What is no command at all has no number of its own.
  if (number == unknown || settings_.errors == 0) return "ERROR";
  if (settings_.errors == 1) return fmt::format("+CME ERROR: {}", number);
  return fmt::format("+CME ERROR: {}", std::ranges::find(errors, number, &error_row::number)->text);
}

std::string at_commands::answer(std::string_view line) {
  if (line.empty()) return {};
  if (!upper_case(line.substr(0, 2)).starts_with("AT")) return "ERROR";
  std::string said;
  try {
    for (std::string_view rest = line.substr(2); !rest.empty();) {
      const outcome made = run(rest);
      if (made.error) return said + final_error(*made.error);
      if (!made.text.empty()) said += made.text + "\r\n\r\n";
    }
  } catch (const failure& state_failed) {
    tell_user(state_failed.what());
    return final_error(sim_failure);
  }
  return said + "OK";
}

}  // namespace sim
