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
constexpr unsigned no_sim = 10;
constexpr unsigned sim_failure = 13;
constexpr unsigned wrong_parameter = 50;
constexpr std::pair<unsigned, const char*> error_texts[] = {
    {no_sim, "SIM not inserted"},
    {sim_failure, "SIM failure"},
    {wrong_parameter, "incorrect parameters"},
};
/// For text that is not a command: an error without a number of its own.
constexpr unsigned unknown = 100;

/// The outcome of a command: a text, empty for a plain OK, or the number of an error.
struct outcome {
  outcome() = default;
  outcome(std::string said) : text(std::move(said)) {}
  outcome(const char* said) : text(said) {}
  outcome(unsigned number) : error(number) {}

  std::string text;
  std::optional<unsigned> error;
};

using terminal = at_terminal;
using argument = std::string_view;

outcome identify(terminal& /*at*/, argument /*of*/) {
  return fmt::format("{}\r\n{}\r\n{}", modem_manufacturer, modem_model, TVK_MODEM_VERSION);
}
template <bool on>
outcome set_echo(terminal& at, argument /*of*/) {
  at.kept.echo = on;
  return {};
}
outcome put_back(terminal& at, argument /*of*/) {
  at.kept = {};
  return {};
}
outcome imei(terminal& at, argument /*of*/) {
  const std::string digits = imei_of(at.state.nv);
  return digits.empty() ? outcome(unknown) : digits;
}

// The card.
std::optional<card> find_card(terminal& at) {
  card found;
  if (at.state.uicc.look_logical(first_slot, found) != card_error::none) return std::nullopt;
  return found.has_usim() ? std::optional(found) : std::nullopt;
}
outcome imsi(terminal& at, argument /*of*/) {
  return find_card(at) ? outcome(usim::imsi) : no_sim;
}
outcome ccid(terminal& at, argument /*of*/) {
  const auto found = find_card(at);
  return found ? outcome("+CCID: " + usim::digits_of(found->iccid)) : no_sim;
}
outcome pin(terminal& at, argument /*of*/) {
  if (!find_card(at)) return no_sim;
  const auto state = at.state.usim.status(at.state.uicc.physical_of(first_slot), 1).state;
  if (state == pin_state::blocked) return "+CPIN: SIM PUK";
  return state == pin_state::not_verified ? "+CPIN: SIM PIN" : "+CPIN: READY";
}

// The radio.
outcome signal(terminal& at, argument /*of*/) {
  const auto seen = at.state.seen_by(subscription);
  if (!seen) return "+CSQ: 99,99";
  const double steps = std::clamp(std::round((seen->lte.rssi() + 113) / 2), 0.0, 31.0);
  return fmt::format("+CSQ: {},99", static_cast<int>(steps));
}
outcome extended_signal(terminal& at, argument /*of*/) {
  const auto seen = at.state.seen_by(subscription);
  if (!seen) return "+CESQ: 99,99,255,255,255,255";
  const double rsrq = std::clamp(std::round(2 * (seen->lte.rsrq + 20)), 0.0, 34.0);
  const double rsrp = std::clamp(std::round(seen->lte.rsrp + 141), 0.0, 97.0);
  return fmt::format("+CESQ: 99,99,255,255,{},{}", static_cast<int>(rsrq), static_cast<int>(rsrp));
}
outcome operator_in_use(terminal& at, argument /*of*/) {
  const auto seen = at.state.seen_by(subscription);
  if (!seen) return "+COPS: 0";
  const radio_network& network = seen->network;
  return fmt::format("+COPS: 0,2,\"{:03}{:0{}}\",7", network.mcc, network.mnc, network.mnc_digits);
}
/// 1 full, 4 no radio, 0 the least.
outcome functionality(terminal& at, argument /*of*/) {
  const device_mode mode = at.state.mode();
  if (mode == device_mode::online) return "+CFUN: 1";
  return mode == device_mode::mode_only_low_power ? "+CFUN: 0" : "+CFUN: 4";
}
outcome set_functionality(terminal& at, argument of) {
  if (of != "0" && of != "1" && of != "4") return wrong_parameter;
  const device_mode off = of == "0" ? device_mode::mode_only_low_power : device_mode::low_power;
  at.state.set_mode(of == "1" ? device_mode::online : off);
  return {};
}

/// Keeps a number from 0 to 2.
template <at_number which>
outcome set_number(terminal& at, argument of) {
  const auto given = parse_number(of, 0, 2);
  if (!given) return wrong_parameter;
  at.kept.numbers[which] = *given;
  return {};
}
outcome error_form(terminal& at, argument /*of*/) {
  return fmt::format("+CMEE: {}", at.kept.numbers[cmee]);
}
/// Registration, which four commands report alike. The fourth is about 5G without LTE.
template <at_number which>
outcome registration(terminal& at, argument /*of*/) {
  constexpr const char* names[] = {"+CREG", "+CGREG", "+CEREG", "+C5GREG"};
  const auto seen = at.state.seen_by(subscription);
  const unsigned report = at.kept.numbers[which];
  const bool is_in = seen && which != c5greg;
  std::string text = fmt::format("{}: {},{}", names[which], report, is_in ? 1 : 0);
  if (is_in && report == 2) {
    text +=
        fmt::format(",\"{:04X}\",\"{:08X}\",7", seen->lte.tracking_area, seen->lte.cell_identity);
  }
  return text;
}

// Packet data.

/// Numbers as profiles have them.
constexpr std::string_view pdp_names[] = {"IP", "PPP", "IPV6", "IPV4V6"};

outcome attached(terminal& at, argument /*of*/) {
  const bool is_in = at.state.is_attached && at.state.seen_by(subscription);
  return is_in ? "+CGATT: 1" : "+CGATT: 0";
}
outcome contexts(terminal& at, argument /*of*/) {
  std::string text;
  for (const auto& [number, profile] : at.state.data.all_profiles()) {
    const std::uint8_t type = data_profile_type(profile);
    text += fmt::format("{}+CGDCONT: {},\"{}\",\"{}\",\"\",0,0", text.empty() ? "" : "\r\n", number,
                        pdp_names[type], data_profile_apn(profile));
  }
  return text;
}
std::optional<argument> unquoted(argument text) {
  if (text.size() < 2 || text.front() != '"' || text.back() != '"') return std::nullopt;
  return text.substr(1, text.size() - 2);
}
/// Number, type and APN, the last two in quotes; a number alone deletes.
outcome set_context(terminal& at, argument of) {
  const auto comma = std::min(of.find(','), of.size());
  const auto number = parse_number(of.substr(0, comma), 1, last_data_profile);
  if (!number) return wrong_parameter;
  auto& profiles = at.state.data.all_profiles();
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
  if (known == std::end(pdp_names) || !apn) return wrong_parameter;
  profiles[key] = made_data_profile(*apn, static_cast<std::uint8_t>(known - pdp_names));
  return {};
}

struct at_row {
  using handler = outcome (*)(terminal& at, argument of);

  constexpr at_row(const char* after_at, handler by) : form(after_at), answer(by) {}
  constexpr at_row(const char* after_at, const char* always) : form(after_at), text(always) {}

  std::string_view form;  ///< after "AT", up to the '=' that the argument follows
  handler answer = nullptr;
  const char* text = nullptr;  ///< of a command that needs no handler
};
constexpr at_row rows[] = {
    {"I", identify},
    {"E0", set_echo<false>},
    {"E1", set_echo<true>},
    {"Z", put_back},
    {"V1", ""},
    {"X4", ""},
    {"&C1", ""},
    {"+CGMI", modem_manufacturer},
    {"+GMI", modem_manufacturer},
    {"+CGMM", modem_model},
    {"+GMM", modem_model},
    {"+CGMR", TVK_MODEM_VERSION},
    {"+CGSN", imei},
    {"+GCAP", "+GCAP: +CGSM"},
    {"+CIMI", imsi},
    {"+CCID", ccid},
    {"+ICCID", ccid},
    {"+CPIN?", pin},
    {"+CSQ", signal},
    {"+CESQ", extended_signal},
    {"+COPS?", operator_in_use},
    {"+CFUN?", functionality},
    {"+CFUN=", set_functionality},
    {"+CREG?", registration<creg>},
    {"+CREG=", set_number<creg>},
    {"+CGREG?", registration<cgreg>},
    {"+CGREG=", set_number<cgreg>},
    {"+CEREG?", registration<cereg>},
    {"+CEREG=", set_number<cereg>},
    {"+C5GREG?", registration<c5greg>},
    {"+C5GREG=", set_number<c5greg>},
    {"+CGATT?", attached},
    {"+CGDCONT?", contexts},
    {"+CGDCONT=", set_context},
    {"+CMEE?", error_form},
    {"+CMEE=", set_number<cmee>},
};

std::string upper_case(std::string_view text) {
  std::string out(text);
  std::ranges::transform(out, out.begin(),
                         [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return out;
}

/// Takes one command off the front of the line: a basic one is as long as its form, an extended one
/// reaches to a semicolon outside of quotes.
outcome run(terminal& at, std::string_view& rest) {
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
  if (row == std::end(rows)) return unknown;
  rest.remove_prefix(is_extended ? size : row->form.size());
  if (rest.starts_with(';')) rest.remove_prefix(1);
  if (row->answer == nullptr) return row->text;
  return row->answer(at, whole.substr(std::min(whole.size(), row->form.size())));
}

std::string final_error(const terminal& at, unsigned number) {
  const unsigned form = at.kept.numbers[cmee];
  if (number == unknown || form == 0) return "ERROR";
  if (form == 1) return fmt::format("+CME ERROR: {}", number);
  const auto* const row =
      std::ranges::find(error_texts, number, &std::pair<unsigned, const char*>::first);
  return fmt::format("+CME ERROR: {}", row->second);
}

}  // namespace

std::string at_commands::answer(std::string_view line) {
  if (line.empty()) return {};
  if (!upper_case(line.substr(0, 2)).starts_with("AT")) return "ERROR";
  std::string said;
  try {
    for (std::string_view rest = line.substr(2); !rest.empty();) {
      const outcome made = run(terminal_, rest);
      if (made.error) return said + final_error(terminal_, *made.error);
      if (!made.text.empty()) said += made.text + "\r\n\r\n";
    }
  } catch (const failure& state_failed) {
    tell_user(state_failed.what());
    return final_error(terminal_, sim_failure);
  }
  return said + "OK";
}

}  // namespace sim
