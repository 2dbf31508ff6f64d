// The names of logs and events, by which filters select them and summaries list them.
#pragma once

#include <cstdint>
#include <string_view>

#include "modem_stats/packet.h"

namespace decode {

/// Empty if there is neither a decoder for it nor signalling in it.
[[nodiscard]] std::string_view packet_name(modem_stats::packet_kind kind, std::uint16_t id);

}  // namespace decode
