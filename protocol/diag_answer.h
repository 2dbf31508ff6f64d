// Decides which packet of a modem answers which request.
//
// An answer repeats the request's code and, depending on the code, more of it: subsystem and
// command (4B, 80), operation (73, 7D), item number (26, 27). An error code followed by the request
// is an answer as well. Unsolicited packets are not answers:
//   10          log packet: answers nothing
//   60          event report: answers event control (60) only as "60 00 00", a report of no events
//   79, 92, 99  message reports: answer nothing
//   98          another packet, wrapped for one of several radios: answers only a request in the
//               same wrapper
#pragma once

#include "protocol/bytes.h"

namespace protocol::diag {

[[nodiscard]] bool is_answer(byte_view request, byte_view packet);

/// Whether no more packets of this answer follow. Only an 80 request may have several.
[[nodiscard]] bool is_last_answer(byte_view answer);

}  // namespace protocol::diag
