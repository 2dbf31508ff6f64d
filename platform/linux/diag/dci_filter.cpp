#include "platform/linux/diag/dci_filter.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "protocol/diag_commands.h"

namespace diag {
namespace {

namespace wire = protocol::diag;

constexpr std::uint8_t refused_codes[] = {wire::event_control, wire::log_config,
                                          wire::message_config, wire::event_mask_get,
                                          wire::event_mask_set};
constexpr std::uint8_t diag_subsystem = 0x12;
constexpr std::uint16_t refused_diag_commands[] = {0x60, 0x61, 0x62, 0x20C, 0x20D, 0x218};

template <typename T, std::size_t Size>
bool contains(const T (&all)[Size], T one) {
  return std::ranges::find(all, one) != std::end(all);
}

}  // namespace

bool is_refused_to_dci(protocol::byte_view request) {
  if (contains(refused_codes, request[0])) return true;
  return request.size() >= 4 && request[0] == wire::subsystem_dispatch &&
         request[1] == diag_subsystem &&
         contains(refused_diag_commands, protocol::load_le<std::uint16_t>(request.subspan(2)));
}

}  // namespace diag
