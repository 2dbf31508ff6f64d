// How the modem is told to choose its network: values that NAS sets and gets back. They are kept as
// its messages carry them; the modem has one network and stays with it.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace sim {

/// By the TLV that gets the value; one that was never set is missing.
using network_selection = std::map<std::uint8_t, std::vector<std::uint8_t>>;

}  // namespace sim
