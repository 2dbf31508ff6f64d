// The answer: 0 u32 | 4 s32 result | 8 u8 version | 9 four blocks of counters, packed. The modem
// has no statistics collector; what its counters show is what the modem itself has done.
#include "simulator/services/extension_statistics.h"

#include <optional>

namespace sim {
namespace {

constexpr std::size_t version_at = 8;

struct field {
  std::uint8_t width;
  std::uint8_t fixed = 0;
  std::optional<event> counted = std::nullopt;
};

constexpr field state(std::uint8_t value) {
  return {1, value};
}
constexpr field word(event counted) {
  return {4, 0, counted};
}
constexpr field long_word(event counted) {
  return {8, 0, counted};
}
constexpr field zeros(std::uint8_t width) {
  return {width};
}

constexpr field fields[] = {
    state(1),  // version
    // main: enabled, versions not supported, commands served and failed
    state(1),
    zeros(8),
    long_word(event::answered),
    long_word(event::refused),
    // diag: initialised; events: number, state, calls, parsed
    state(1),
    word(event::restart),
    state(1),
    word(event::restart),
    word(event::restart),
    // logs: number, state, calls, parsed; polls: calls, parsed
    word(event::datagram),
    state(1),
    long_word(event::datagram),
    long_word(event::request),
    word(event::statistics_asked),
    word(event::statistics_asked),
    // cm: initialised, listening; calls and parsed of each: call, subscription, supplementary
    // service and statistics events, polls of RF, LTE and NR
    state(1),
    state(1),
    word(event::control_packet),
    word(event::control_packet),
    word(event::switch_notice),
    word(event::switch_notice),
    zeros(8),
    zeros(8),
    word(event::rf_state_set),
    word(event::rf_state_set),
    word(event::item_read),
    word(event::item_read),
    word(event::item_written),
    word(event::item_written),
    // uim: initialised, listening, events called and parsed
    state(1),
    state(1),
    word(event::card_set),
    word(event::card_changed),
};

}  // namespace

void write_statistics(activity& activity, std::span<std::uint8_t> payload) {
  activity.count(event::statistics_asked);
  std::size_t at = version_at;
  for (const field& each : fields) {
    const std::uint64_t value = each.counted ? activity.of(*each.counted) : each.fixed;
    for (unsigned i = 0; i < each.width; ++i) {
      payload[at++] = static_cast<std::uint8_t>(value >> (8 * i));
    }
  }
}

}  // namespace sim
