#include "simulator/at/at_commands.h"

#include <fmt/core.h>

#include <algorithm>
#include <cctype>
#include <optional>

#include "simulator/standard_error.h"

namespace sim {
namespace {

constexpr std::uint16_t imei_item = 550;
constexpr unsigned slot = 0;
constexpr const char* no_card = "+CME ERROR: 10";

constexpr const char* manufacturer = "TVK";
constexpr const char* model = "tvk-modem";

/// Length, then a nibble that is not a digit, then the digits, low nibble first.
std::string imei_digits(protocol::byte_view item) {
  std::string digits;
  for (const std::uint8_t byte : item.subspan(std::min<std::size_t>(1, item.size()))) {
    for (const int nibble : {byte & 0xF, byte >> 4}) {
      if (nibble <= 9) digits += static_cast<char>('0' + nibble);
    }
  }
  return digits;
}

/// A line of the answer; empty for a plain OK. "ERROR" or "+CME ..." is the whole answer.
using text = std::string;

}  // namespace

struct at_rows {
  static text nothing(at_commands& /*at*/, std::string_view /*argument*/) { return {}; }
  static text identify(at_commands& /*at*/, std::string_view /*argument*/) {
    return fmt::format("{}\r\n{}\r\n{}", manufacturer, model, TVK_MODEM_VERSION);
  }
  static text echo_off(at_commands& at, std::string_view /*argument*/) {
    at.echo_ = false;
    return {};
  }
  static text echo_on(at_commands& at, std::string_view /*argument*/) {
    at.echo_ = true;
    return {};
  }
  static text get_manufacturer(at_commands& /*at*/, std::string_view /*argument*/) {
    return manufacturer;
  }
  static text get_model(at_commands& /*at*/, std::string_view /*argument*/) { return model; }
  static text get_revision(at_commands& /*at*/, std::string_view /*argument*/) {
    return TVK_MODEM_VERSION;
  }
  static text get_imei(at_commands& at, std::string_view /*argument*/) {
    const auto item = at.state_.nv.read(0, imei_item);
    return item ? imei_digits(*item) : "ERROR";
  }
  static text get_imsi(at_commands& at, std::string_view /*argument*/) {
    return at.state_.cards.present(slot) ? "001010123456789" : no_card;
  }
  static text get_signal(at_commands& at, std::string_view /*argument*/) {
    return at.functionality_ == 1 ? "+CSQ: 20,99" : "+CSQ: 99,99";
  }
  static text get_pin(at_commands& at, std::string_view /*argument*/) {
    return at.state_.cards.present(slot) ? "+CPIN: READY" : no_card;
  }
  static text get_registration(at_commands& at, std::string_view /*argument*/) {
    return registered(at) ? "+CREG: 0,1" : "+CREG: 0,0";
  }
  static text get_operator(at_commands& at, std::string_view /*argument*/) {
    return registered(at) ? "+COPS: 0,2,\"00101\",7" : "+COPS: 0";
  }
  static text get_functionality(at_commands& at, std::string_view /*argument*/) {
    return fmt::format("+CFUN: {}", at.functionality_);
  }
  static text set_functionality(at_commands& at, std::string_view argument) {
    if (argument != "0" && argument != "1" && argument != "4") return "ERROR";
    at.functionality_ = argument[0] - '0';
    return {};
  }

 private:
  static bool registered(const at_commands& at) {
    return at.functionality_ == 1 && at.state_.cards.present(slot);
  }
};

namespace {

struct at_row {
  std::string_view form;  ///< after "AT", up to the '=' that the argument follows
  text (*answer)(at_commands& at, std::string_view argument);
};
constexpr at_row rows[] = {
    {"", at_rows::nothing},
    {"I", at_rows::identify},
    {"E0", at_rows::echo_off},
    {"E1", at_rows::echo_on},
    {"+CGMI", at_rows::get_manufacturer},
    {"+CGMM", at_rows::get_model},
    {"+CGMR", at_rows::get_revision},
    {"+CGSN", at_rows::get_imei},
    {"+CIMI", at_rows::get_imsi},
    {"+CSQ", at_rows::get_signal},
    {"+CPIN?", at_rows::get_pin},
    {"+CREG?", at_rows::get_registration},
    {"+COPS?", at_rows::get_operator},
    {"+CFUN?", at_rows::get_functionality},
    {"+CFUN=", at_rows::set_functionality},
};

}  // namespace

std::string at_commands::answer(std::string_view line) {
  if (line.empty()) return {};
  std::string command(line);
  std::ranges::transform(command, command.begin(),
                         [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  if (!command.starts_with("AT")) return "ERROR";
  const std::string_view rest = std::string_view(command).substr(2);
  const auto form = rest.substr(0, std::min(rest.find('='), rest.size() - 1) + 1);
  const auto* const row = std::ranges::find(rows, form, &at_row::form);
  if (row == std::end(rows)) return "ERROR";
  try {
    const text said = row->answer(*this, rest.substr(form.size()));
    if (said.empty()) return "OK";
    const bool failed = said == "ERROR" || said == no_card;
    return failed ? said : said + "\r\n\r\nOK";
  } catch (const failure& state_failed) {
    tell_user(state_failed.what());
    return "ERROR";
  }
}

}  // namespace sim
