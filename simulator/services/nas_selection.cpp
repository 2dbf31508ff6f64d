// NAS: how the modem is told to choose its network. It has one and stays with it.
#include "simulator/services/handlers.h"
#include "simulator/services/kept_rows.h"
#include "simulator/services/nas.h"
#include "simulator/services/network_indications.h"

namespace sim {
namespace {

using protocol::qmi::error;

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

}  // namespace

reply get_selection(const request& asked) {
  return tell_kept(preferences, asked.state.selection);
}

reply set_selection(const request& asked) {
  reply out = set_kept(preferences, asked.tlvs, asked.state.selection);
  if (out.result == error::none) indicate_network(asked.state, out);
  return out;
}

}  // namespace sim
