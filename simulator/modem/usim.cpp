#include "simulator/modem/usim.h"

#include <algorithm>
#include <iterator>

#include "simulator/modem/byte_strings.h"
#include "simulator/modem/identity.h"

namespace sim {
namespace {

using bytes = std::vector<std::uint8_t>;
using protocol::qmi::error;

constexpr std::uint16_t master = 0x3F00;
constexpr std::uint16_t usim_directory = 0x7FFF;

/// Where the content comes from: hexadecimal digits, or one of the functions.
struct file_row {
  std::uint16_t directory;
  std::uint16_t id;
  file_type type;
  const char* content;
  bytes (*made)(protocol::byte_view iccid) = nullptr;
  bool needs_pin = true;
};

/// Length, then a 9 that says the count is odd, then the digits, low nibble first.
bytes imsi_file(protocol::byte_view /*iccid*/) {
  std::string nibbles = usim::imsi;
  nibbles.insert(nibbles.begin(), '9');
  bytes out = {static_cast<std::uint8_t>(nibbles.size() / 2)};
  for (std::size_t i = 0; i < nibbles.size(); i += 2) {
    out.push_back(static_cast<std::uint8_t>((nibbles[i] - '0') | (nibbles[i + 1] - '0') << 4));
  }
  return out;
}

/// The name is to be shown, then 16 characters filled up with FF.
bytes provider_file(protocol::byte_view /*iccid*/) {
  constexpr std::size_t size = 17;
  bytes out = {0x01};
  std::ranges::copy(std::string_view(operator_name), std::back_inserter(out));
  out.resize(size, 0xFF);
  return out;
}

constexpr file_row files[] = {
    {0, master, file_type::master, "", nullptr, false},
    {master, usim_directory, file_type::dedicated, "", nullptr, false},
    {master, 0x2FE2, file_type::transparent, "", copied, false},
    {master, 0x2F05, file_type::transparent, "65 6e ff ff", nullptr, false},  // languages
    // The applications: the USIM.
    {master, 0x2F00, file_type::linear_fixed, "61 09 4f 07 a0 00 00 00 87 10 02 ff ff ff ff ff",
     nullptr, false},
    {usim_directory, 0x6F07, file_type::transparent, "", imsi_file},
    {usim_directory, 0x6FAD, file_type::transparent, "00 00 00 02", nullptr, false},
    {usim_directory, 0x6F46, file_type::transparent, "", provider_file, false},
    {usim_directory, 0x6F38, file_type::transparent, "9e ff 1f 1c ff 3e 00 00 00"},  // services
    {usim_directory, 0x6F3E, file_type::transparent, "ff ff ff ff"},  // group identifiers
    {usim_directory, 0x6F3F, file_type::transparent, "ff ff ff ff"},
    // The own number, without a name: 15550100.
    {usim_directory, 0x6F40, file_type::linear_fixed,
     "ff ff ff ff 05 81 51 55 10 00 ff ff ff ff ff ff ff ff"},
};

/// As a setting keeps it; no value for what is no PIN of 4 to 8 digits.
std::optional<std::int64_t> number_of(std::string_view code) {
  if (code.size() < 4 || code.size() > 8) return std::nullopt;
  std::int64_t number = 1;
  for (const char digit : code) {
    if (digit < '0' || digit > '9') return std::nullopt;
    number = 10 * number + (digit - '0');
  }
  return number;
}

constexpr std::string_view unblock_code = "12345678";

}  // namespace

std::string usim::digits_of(protocol::byte_view swapped) {
  std::string digits;
  for (const std::uint8_t each : swapped) {
    for (const int nibble : {each & 0xF, each >> 4}) {
      if (nibble <= 9) digits += static_cast<char>('0' + nibble);
    }
  }
  return digits;
}

std::optional<card_file> usim::find(std::span<const std::uint16_t> path, std::uint16_t id,
                                    protocol::byte_view iccid) {
  const std::uint16_t directory = path.empty() ? 0 : path.back();
  for (const file_row& row : files) {
    if (row.directory != directory || row.id != id) continue;
    return card_file{id, row.type,
                     row.made == nullptr ? bytes_of_hex(row.content) : row.made(iccid),
                     row.needs_pin};
  }
  return std::nullopt;
}

bool usim::is_enabled(unsigned slot, unsigned pin) {
  return pin != 1 || settings_.get(setting_of::pin_enabled[slot - 1]) != 0;
}

pin_status usim::status(unsigned slot, unsigned pin) {
  const auto retries = settings_.get(setting_of::pin_tries[slot - 1][pin - 1]);
  const auto unblock_retries = settings_.get(setting_of::puk_tries[slot - 1][pin - 1]);
  pin_state state = verified_[slot - 1][pin - 1] ? pin_state::verified : pin_state::not_verified;
  if (!is_enabled(slot, pin)) state = pin_state::disabled;
  if (retries == 0) state = pin_state::blocked;
  return {state, static_cast<std::uint8_t>(retries), static_cast<std::uint8_t>(unblock_retries)};
}

bool usim::is_unlocked(unsigned slot) {
  const pin_state state = status(slot, 1).state;
  return state == pin_state::verified || state == pin_state::disabled;
}

error usim::try_code(const setting& tries, bool is_right) {
  const auto left = settings_.get(tries);
  if (left == 0) return pin_result::blocked;
  settings_.set(tries, is_right ? tries.most : left - 1);
  if (is_right) return pin_result::done;
  return left == 1 ? pin_result::blocked : pin_result::wrong;
}

error usim::check(const pin_request& asked) {
  const auto [slot, pin] = std::pair(asked.slot - 1, asked.pin - 1);
  const auto code = settings_.get(setting_of::pin_code[slot][pin]);
  const error result = try_code(setting_of::pin_tries[slot][pin], number_of(asked.code) == code);
  if (result == pin_result::done) verified_[slot][pin] = true;
  return result;
}

error usim::verify(const pin_request& asked) {
  return is_enabled(asked.slot, asked.pin) ? check(asked) : pin_result::not_changed;
}

error usim::change(const pin_request& asked) {
  const auto number = number_of(asked.next);
  if (!number || !is_enabled(asked.slot, asked.pin)) return pin_result::not_changed;
  const error result = check(asked);
  if (result == pin_result::done) {
    settings_.set(setting_of::pin_code[asked.slot - 1][asked.pin - 1], *number);
  }
  return result;
}

error usim::unblock(const pin_request& asked) {
  const auto [slot, pin] = std::pair(asked.slot - 1, asked.pin - 1);
  const auto number = number_of(asked.next);
  const error result =
      try_code(setting_of::puk_tries[slot][pin], asked.code == unblock_code && number);
  if (result != pin_result::done) return result;
  const setting& tries = setting_of::pin_tries[slot][pin];
  settings_.set(tries, tries.most);
  settings_.set(setting_of::pin_code[slot][pin], *number);
  verified_[slot][pin] = true;
  return result;
}

error usim::enable(const pin_request& asked) {
  if (asked.pin != 1 || is_enabled(asked.slot, asked.pin) == asked.on) {
    return pin_result::not_changed;
  }
  const error result = check(asked);
  if (result == pin_result::done) {
    settings_.set(setting_of::pin_enabled[asked.slot - 1], asked.on ? 1 : 0);
  }
  return result;
}

}  // namespace sim
