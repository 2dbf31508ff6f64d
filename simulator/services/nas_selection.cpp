// NAS: how the modem is told to choose its network.
#include <algorithm>
#include <iterator>

#include "simulator/modem/hex.h"
#include "simulator/services/handlers.h"
#include "simulator/services/nas.h"
#include "simulator/services/network_indications.h"

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qmi::error;
using protocol::qmi::find_tlv;

constexpr std::uint8_t mode_tlv = 0x11;

/// A value that is set with one TLV and got with another; 0: it cannot be set.
struct preference_row {
  std::uint8_t get;
  std::uint8_t set;
  std::size_t set_size;  ///< 0: a count and so many bytes
  const char* at_first;  ///< as it is got, which may be the beginning of what is set
};
constexpr preference_row preferences[] = {
    {0x10, 0x10, 1, "00"},
    {mode_tlv, mode_tlv, 2, "5c 00"},  // GSM, UMTS, LTE and NR
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

bool fits(const preference_row& row, byte_view value) {
  if (row.set_size != 0) return value.size() == row.set_size;
  return !value.empty() && value.size() == std::size_t{1} + value[0];
}

/// Some radio that the modem has, and none besides.
bool is_mode(byte_view value) {
  constexpr std::uint16_t known = 0x005C;
  const auto mask = protocol::load_le<std::uint16_t>(value);
  return mask != 0 && (mask & ~known) == 0;
}

}  // namespace

reply get_selection(const request& asked) {
  reply out = error::none;
  for (const preference_row& row : preferences) {
    const auto chosen = asked.state.selection.find(row.get);
    out.tlvs.bytes(row.get, chosen == asked.state.selection.end() ? bytes_of_hex(row.at_first)
                                                                  : chosen->second);
  }
  return out;
}

reply set_selection(const request& asked) {
  network_selection chosen;
  for (const preference_row& row : preferences) {
    const auto value = row.set == 0 ? std::nullopt : find_tlv(asked.tlvs, row.set);
    if (!value) continue;
    if (!fits(row, *value)) return error::malformed_message;
    if (row.get == mode_tlv && !is_mode(*value)) return error::invalid_argument;
    const std::size_t kept = row.set_size == 0 ? value->size() : bytes_of_hex(row.at_first).size();
    chosen[row.get] = {value->begin(), value->begin() + static_cast<std::ptrdiff_t>(kept)};
  }
  for (auto& [tlv, value] : chosen) asked.state.selection[tlv] = std::move(value);
  reply out = error::none;
  indicate_network(asked.state, out);
  return out;
}

}  // namespace sim
