#include "simulator/modem/identity.h"

#include <algorithm>

namespace sim {

std::string imei_of(nv_store& items) {
  constexpr std::uint16_t imei_item = 550;
  const auto item = items.read(0, imei_item);
  if (!item) return {};
  // Length, then a nibble that is not a digit, then the digits, low nibble first.
  std::string digits;
  for (std::size_t i = 1; i < item->size(); ++i) {
    for (const int nibble : {(*item)[i] & 0xF, (*item)[i] >> 4}) {
      if (nibble <= 9) digits += static_cast<char>('0' + nibble);
    }
  }
  return digits;
}

}  // namespace sim
