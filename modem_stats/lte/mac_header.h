// The header of an LTE uplink MAC PDU (3GPP TS 36.321, 6.1 and 6.2): sub-headers, followed by the
// control elements that they announce.
#pragma once

#include "modem_stats/packet_decoder.h"

namespace modem_stats::lte {

/// The combined reports from the headers of a packet's transport blocks.
struct mac_reports {
  u16 phr_ind = 255;     // the last power headroom index; 255: none
  u16 bsr_lcg3_num = 0;  // buffer status reports of logical channel group 3
  u32 bsr_lcg3_sum = 0;  // total of the bytes they report
};

/// Adds the reports from the header, which is the `hdr_len` bytes from the block on. An unknown
/// logical channel id prints a line and ends it. `count_tb`: the block's number, for messages.
void read_mac_header(packet_decoder& in, u8 hdr_len, unsigned count_tb, mac_reports& reports);

}  // namespace modem_stats::lte
