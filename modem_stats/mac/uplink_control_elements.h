// Control elements that an NR phone puts in front of its uplink data: buffer status, power headroom
// and others, each a MAC subheader and its octets as sent (3GPP TS 38.321).
// Layout: docs/formats/nr5g_mac_rrc.md.
#pragma once

#include <span>

#include "modem_stats/packet_decoder.h"

namespace modem_stats::mac {

/// Buffer size indices of buffer status reports, 5 and 8 bits wide alike.
struct buffer_sizes {
  u32 count = 0;
  u32 sum = 0;
};

/// Prints a line for every element, power headroom and buffer size index, and adds the latter to
/// `sizes`. Ends at padding, at an element that is not known and at one that is not there whole.
/// `has_other_cell`: reports on several cells begin with the other MAC entity's special cell.
void walk_uplink_control_elements(packet_decoder& in, std::span<const u8> octets,
                                  bool has_other_cell, buffer_sizes& sizes);

}  // namespace modem_stats::mac
