#include "simulator/modem/identity.h"

#include "simulator/modem/usim.h"

namespace sim {

std::string imei_of(nv_store& items) {
  constexpr std::uint16_t imei_item = 550;
  const auto item = items.read(0, imei_item);
  // Length, then a nibble that is not a digit, then the digits.
  return item ? usim::digits_of(protocol::byte_view(*item).subspan(1)) : std::string();
}

}  // namespace sim
