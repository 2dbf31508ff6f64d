// Control elements that an NR phone sends along with its uplink data: buffer status, power headroom
// and others. Each is a MAC subheader and its octets (3GPP TS 38.321).
// Layout: docs/formats/nr5g_mac_rrc.md.
#pragma once

#include <span>

#include "modem_stats/packet_decoder.h"

namespace modem_stats::mac {

/// Buffer size indices from buffer status reports, whether 5 or 8 bits wide.
struct buffer_sizes {
  u32 count = 0;
  u32 sum = 0;
};

/// Prints a line for every element, power headroom and buffer size index, and adds the indices to
/// `sizes`. Ends at padding and at unknown or incomplete elements. `has_other_cell`: reports on
/// several cells begin with the other MAC entity's special cell.
void walk_uplink_control_elements(packet_decoder& in, std::span<const u8> octets,
                                  bool has_other_cell, buffer_sizes& sizes);

}  // namespace modem_stats::mac
