// Commands about what a client wants to be sent: logs (73), events (60, 81, 82), messages (7D).
#include <algorithm>
#include <iterator>

#include "simulator/diag/command.h"

namespace sim::diag {
namespace {

using wire::log_operation;

// The status of log masks.
constexpr std::uint32_t logs_done = 0;
constexpr std::uint32_t bad_equipment = 1;

reply disable_logs(const request& asked) {
  asked.from.masks.clear_logs();
  return byte_string().u32(logs_done);
}

reply log_ranges(const request& /*asked*/) {
  byte_string answer;
  answer.u32(logs_done);
  for (const std::uint32_t items : log_items) answer.u32(items);
  return answer;
}

constexpr std::size_t log_mask_at = 16;

std::uint32_t log_bits(const request& asked) {
  return asked.at<std::uint32_t>(12);
}

struct log_mask {
  std::uint32_t bits;
  byte_view mask;
};

/// Does what is asked with the equipment's logs: status, equipment, number of bits, mask.
template <log_mask (*act)(const request&, std::uint32_t equipment)>
reply on_logs(const request& asked) {
  const auto equipment = asked.at<std::uint32_t>(8);
  if (equipment >= equipment_ids || log_items.at(equipment) == 0) {
    return byte_string().u32(bad_equipment, equipment, 0);
  }
  const auto [bits, mask] = act(asked, equipment);
  return byte_string().u32(logs_done, equipment, bits).bytes(first_bits(mask, bits));
}

log_mask valid_logs(const request& /*asked*/, std::uint32_t equipment) {
  static const std::vector<std::uint8_t> all(mask_bytes(items_per_equipment), 0xFF);
  return {log_items.at(equipment), all};
}

log_mask get_logs(const request& asked, std::uint32_t equipment) {
  return {log_items.at(equipment), asked.from.masks.logs(equipment)};
}

log_mask keep_logs(const request& asked, std::uint32_t equipment) {
  asked.from.masks.set_logs(equipment, log_bits(asked), asked.bytes.subspan(log_mask_at));
  return {log_bits(asked), asked.from.masks.logs(equipment)};
}

/// A mask must be as long as its bits need, whatever it is for.
void check_mask(const request& asked, std::uint32_t bits, std::uint32_t most, std::size_t mask_at) {
  if (bits > most) throw refused{refusal::bad_parameter};
  if (asked.bytes.size() != mask_at + mask_bytes(bits)) throw refused{refusal::bad_length};
}

reply set_logs(const request& asked) {
  check_mask(asked, log_bits(asked), items_per_equipment, log_mask_at);
  return on_logs<keep_logs>(asked);
}

/// The answer is an event report without events.
reply event_reports(const request& asked) {
  const auto on = asked.at<std::uint8_t>(1);
  if (on > 1) throw refused{refusal::bad_parameter};
  asked.from.masks.report_events(on == 1);
  return byte_string().u16(0);
}

/// 0, reserved, number of bits, mask
reply event_mask(const masks& from, std::uint32_t bits) {
  return byte_string().u8(0).u16(0, bits).bytes(first_bits(from.events(), bits));
}

reply get_events(const request& asked) {
  return event_mask(asked.from.masks, event_ids);
}

reply set_events(const request& asked) {
  constexpr std::size_t mask_at = 6;
  const std::uint32_t bits = asked.at<std::uint16_t>(4);
  check_mask(asked, bits, event_ids, mask_at);
  asked.from.masks.set_events(bits, asked.bytes.subspan(mask_at));
  return event_mask(asked.from.masks, bits);
}

// The opposite of the status of log masks.
constexpr std::uint8_t messages_done = 1;
constexpr std::uint8_t messages_failed = 0;

reply message_range_list(const request& /*asked*/) {
  byte_string answer;
  answer.u8(messages_done, 0).u32(std::size(message_ranges));
  for (const message_range& each : message_ranges) answer.u16(each.first, each.last);
  return answer;
}

bool is_ours(const message_range& asked) {
  return std::ranges::any_of(message_ranges, [&asked](const message_range& each) {
    return each.first <= asked.first && asked.last <= each.last;
  });
}

message_range range_of(const request& asked) {
  const message_range range{asked.at<std::uint16_t>(2), asked.at<std::uint16_t>(4)};
  if (range.first > range.last) throw refused{refusal::bad_parameter};
  return range;
}

template <typename MaskOf>
reply message_masks(const message_range& range, MaskOf mask_of) {
  if (!is_ours(range)) return byte_string().u8(messages_failed, 0);
  byte_string answer;
  answer.u8(messages_done, 0);
  for (std::uint32_t id = range.first; id <= range.last; ++id) {
    answer.u32(mask_of(static_cast<std::uint16_t>(id)));
  }
  return answer;
}

reply built_messages(const request& asked) {
  return message_masks(range_of(asked), [](std::uint16_t) { return message_levels; });
}

reply get_messages(const request& asked) {
  return message_masks(range_of(asked),
                       [&](std::uint16_t id) { return asked.from.masks.messages[id]; });
}

reply set_messages(const request& asked) {
  constexpr std::size_t masks_at = 8;
  const message_range range = range_of(asked);
  const std::size_t count = range.last - range.first + 1U;
  if (asked.bytes.size() != masks_at + 4 * count) throw refused{refusal::bad_length};
  for (std::size_t i = 0; i < count && is_ours(range); ++i) {
    asked.from.masks.messages[static_cast<std::uint16_t>(range.first + i)] =
        asked.at<std::uint32_t>(masks_at + 4 * i);
  }
  return get_messages(asked);
}

/// One router takes this with a single reserved byte; so do we.
reply set_all_messages(const request& asked) {
  const auto mask = asked.at<std::uint32_t>(asked.bytes.size() - 4);
  for (const message_range& each : message_ranges) {
    for (std::uint32_t id = each.first; id <= each.last; ++id) {
      asked.from.masks.messages[static_cast<std::uint16_t>(id)] = mask;
    }
  }
  return byte_string().u8(messages_done, 0).u32(mask);
}

constexpr command_row rows[] = {
    {plain(wire::event_control), "event reports", 2, 2, 1, event_reports},
    {plain(wire::event_mask_get), "get event mask", 4, 4, 1, get_events},
    {plain(wire::event_mask_set), "set event mask", 6, any_size, 1, set_events},
    {log_config(log_operation::disable), "disable logs", 8, 8, 8, disable_logs},
    {log_config(log_operation::ranges), "log ranges", 8, 8, 8, log_ranges},
    {log_config(log_operation::valid_mask), "valid logs", 12, 12, 8, on_logs<valid_logs>},
    {log_config(log_operation::set_mask), "set log mask", 16, any_size, 8, set_logs},
    {log_config(log_operation::get_mask), "get log mask", 12, 12, 8, on_logs<get_logs>},
    {message_config(1), "message ranges", 2, 2, 2, message_range_list},
    {message_config(2), "built messages", 6, 6, 6, built_messages},
    {message_config(3), "get message masks", 6, 6, 6, get_messages},
    {message_config(4), "set message masks", 8, any_size, 6, set_messages},
    {message_config(5), "set all message masks", 7, 8, 2, set_all_messages},
};

}  // namespace

std::span<const command_row> mask_commands() {
  return rows;
}

}  // namespace sim::diag
