// WDA, the standard service of the data port: the format in which packets would pass there.
#include <algorithm>
#include <iterator>

#include "simulator/services/handlers.h"
#include "simulator/services/kept_rows.h"
#include "simulator/services/messages.h"

namespace sim {
namespace {

using protocol::qmi::error;

bool is_link(protocol::byte_view value) {
  const auto number = protocol::load_le<std::uint32_t>(value);
  return number == 1 || number == 2;  // Ethernet frames, plain IP
}

bool is_aggregation(protocol::byte_view value) {
  constexpr std::uint32_t known[] = {0, 5, 7, 8, 9};  // none, QMAP and its versions 3 to 5
  return std::ranges::find(known, protocol::load_le<std::uint32_t>(value)) != std::end(known);
}

constexpr kept_row format[] = {
    {0x10, 0x10, 1, "00"},
    {0x11, 0x11, 4, "02 00 00 00", is_link},
    {0x12, 0x12, 4, "00 00 00 00", is_aggregation},
    {0x13, 0x13, 4, "00 00 00 00", is_aggregation},
    {0x15, 0x15, 4, "00 00 00 00"},
    {0x16, 0x16, 4, "00 00 00 00"},
    {0x17, 0x1B, 4, "00 00 00 00"},
    {0x18, 0x1C, 4, "00 00 00 00"},
};

reply get_format(const request& asked) {
  return tell_kept(format, asked.state.data.format);
}

reply set_format(const request& asked) {
  const error wrong = set_kept(format, asked.tlvs, asked.state.data.format);
  return wrong == error::none ? get_format(asked) : wrong;
}

constexpr message_row rows[] = {
    {0x0020, "set data format", set_format},
    {0x0021, "get data format", get_format},
};

}  // namespace

std::span<const message_row> wda_messages() {
  return rows;
}

}  // namespace sim
