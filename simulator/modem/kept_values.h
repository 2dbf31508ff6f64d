// Values that clients set and get back, kept as the TLVs of a service carry them. They change
// nothing else.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace sim {

/// By the TLV that gets the value; one that was never set is missing.
using kept_values = std::map<std::uint8_t, std::vector<std::uint8_t>>;

}  // namespace sim
