#include "simulator/diag/masks.h"

#include <algorithm>

#include "protocol/log_packet.h"

namespace sim::diag {
namespace {

constexpr std::size_t report_header_size = 3;

bool has_bit(byte_view mask, std::uint32_t bit) {
  return (mask[bit / 8] >> (bit % 8) & 1) != 0;
}

}  // namespace

std::vector<std::uint8_t> first_bits(byte_view mask, std::uint32_t bits) {
  std::vector<std::uint8_t> first(mask_bytes(bits));
  std::ranges::copy(mask.first(std::min(first.size(), mask.size())), first.begin());
  if (bits % 8 != 0) first.back() &= static_cast<std::uint8_t>((1U << (bits % 8)) - 1);
  return first;
}

// A client that turns reports on and sets no event mask gets all events.
masks::masks() : events_(mask_bytes(event_ids), 0xFF) {
  for (auto& each : logs_) each.resize(mask_bytes(items_per_equipment));
}

void masks::clear_logs() {
  for (auto& each : logs_) std::ranges::fill(each, std::uint8_t{0});
  any_log_ = false;
}

void masks::set_logs(std::uint32_t equipment, std::uint32_t bits, byte_view mask) {
  auto& items = logs_.at(equipment);
  items = first_bits(mask, bits);
  items.resize(mask_bytes(items_per_equipment));
  any_log_ = std::ranges::any_of(logs_, [](const auto& each) {
    return std::ranges::any_of(each, [](std::uint8_t byte) { return byte != 0; });
  });
}

void masks::set_events(std::uint32_t bits, byte_view mask) {
  events_ = first_bits(mask, bits);
  events_.resize(mask_bytes(event_ids));
}

bool masks::wants_log(std::uint16_t code) const {
  return has_bit(logs_.at(code / items_per_equipment), code % items_per_equipment);
}

bool masks::wants_event(std::uint16_t id) const {
  return events_on_ && has_bit(events_, id);
}

byte_view masks::select(byte_view packet, std::vector<std::uint8_t>& shortened) const {
  namespace wire = protocol::diag;
  const auto inner = wire::unwrap_radio(packet);
  if (!inner) return {};
  if (const auto log = wire::parse_log(inner->packet)) {
    return wants_log(log->code) ? packet : byte_view();
  }
  if (!events_on_ || inner->packet[0] != wire::event_code) return {};

  shortened.assign(packet.begin(), inner->packet.begin());
  const std::size_t report_at = shortened.size();
  shortened.resize(report_at + report_header_size);
  shortened[report_at] = wire::event_code;
  bool all = true;
  wire::event_reader events(inner->packet);
  while (const auto one = events.next()) {
    if (!wants_event(one->id)) {
      all = false;
      continue;
    }
    // Each gets a full time: the event that carried it may be left out.
    const auto alone = wire::build_event_report(*one);
    shortened.insert(shortened.end(), alone.begin() + report_header_size, alone.end());
  }
  if (all) return packet;
  const std::size_t length = shortened.size() - report_at - report_header_size;
  protocol::store_le(static_cast<std::uint16_t>(length),
                     std::span(shortened).subspan(report_at + 1));
  return length == 0 ? byte_view() : byte_view(shortened);
}

}  // namespace sim::diag
