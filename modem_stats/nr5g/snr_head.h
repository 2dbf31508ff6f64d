// Whose SNR the LL1 logs report: the same places in 0xB8D8 and 0xB8DD.
#pragma once

#include "modem_stats/bit_field.h"
#include "modem_stats/record_schema.h"

namespace modem_stats::snr_head {

inline constexpr bit_field<u32> pci{"pci", 46, 10};
inline constexpr auto carrier_index = at_byte<u8>("carrier_index", 8);

}  // namespace modem_stats::snr_head
