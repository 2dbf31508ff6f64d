#include "decode/live/masks.h"

#include <fmt/format.h>

#include "decode/messages.h"

namespace decode {

namespace {

constexpr std::uint32_t default_event_bits = 4096;

template <std::size_t N>
bit_mask mask_of(const std::bitset<N>& wanted, std::size_t first, std::uint32_t bits) {
  bit_mask mask = empty_mask(bits);
  for (std::size_t i = 0; i < bits && first + i < N; ++i) {
    if (wanted[first + i]) mask.set(i);
  }
  return mask;
}

}  // namespace

bit_mask mask_changes::change::add(const bit_mask& in_force, const bit_mask& wanted) {
  before = in_force;
  before.remove(added);
  added = wanted;
  added.remove(before);
  bit_mask both = wanted;
  both.add(in_force);
  return both;
}

void mask_changes::apply() {
  apply_logs();
  if (!port_.is_over()) apply_events();
}

void mask_changes::apply_logs() {
  const auto ranges_answer = port_.ask(get_log_ranges());
  if (port_.is_over()) return;
  const auto ranges = ranges_answer ? log_ranges(*ranges_answer) : std::nullopt;
  if (!ranges) {
    report("the port does not list its logs; it sends only those that are already on");
    return;
  }
  for (unsigned equipment = 0; equipment < num_equipments; ++equipment) {
    const auto wanted = mask_of(wanted_.logs | wanted_.signalling, std::size_t{equipment} << 12,
                                (*ranges)[equipment]);
    if (!wanted.any()) continue;
    const auto answer = port_.ask(get_log_mask(equipment));
    if (port_.is_over()) return;
    const auto in_force = answer ? log_mask(*answer) : std::nullopt;
    const auto both = logs_[equipment].add(in_force.value_or(empty_mask(wanted.bits)), wanted);
    const auto set = port_.ask(set_log_mask(equipment, both));
    if (port_.is_over()) return;
    if (!set || !is_done(*set)) {
      report(fmt::format("the port refuses to send the logs 0x{:X}000 to 0x{:X}FFF", equipment,
                         equipment));
    }
  }
}

void mask_changes::apply_events() {
  if (wanted_.events.none()) return;
  const auto answer = port_.ask(get_event_mask());
  if (port_.is_over()) return;
  const auto in_force =
      (answer ? event_mask(*answer) : std::nullopt).value_or(empty_mask(default_event_bits));
  if (!events_) events_.emplace();
  const auto both = events_->add(in_force, mask_of(wanted_.events, 0, in_force.bits));
  const auto set = port_.ask(set_event_mask(both));
  if (port_.is_over()) return;
  const auto reported = port_.ask(report_events(true));
  if (port_.is_over()) return;
  if (!set || !is_done(*set) || !reported) report("the port refuses to send events");
}

void mask_changes::restore() {
  bool done = true;
  const auto set = [&](const diag_packet& request) {
    const auto answer = port_.ask(request);
    done = answer && is_done(*answer) && done;
  };
  for (const auto& [equipment, log] : logs_) set(set_log_mask(equipment, log.before));
  if (events_) {
    done = port_.ask(report_events(false)) && done;
    set(set_event_mask(events_->before));
  }
  if (!done) report("the port did not confirm that its masks were restored");
}

}  // namespace decode
