// Commands about what a client wants to be sent: logs (73), events (60, 81, 82), messages (7D).
#include <algorithm>
#include <iterator>

#include "simulator/diag/command.h"

namespace sim::diag {
namespace {

using protocol::append_le;
using wire::log_operation;

enum class log_status : std::uint32_t { done = 0, bad_equipment = 1 };

void append(packet& out, byte_view bytes) {
  out.insert(out.end(), bytes.begin(), bytes.end());
}

void append_status(packet& out, log_status status) {
  append_le(out, static_cast<std::uint32_t>(status));
}

bool has_logs(std::uint32_t equipment) {
  return equipment < equipment_ids && log_items.at(equipment) != 0;
}

reply disable_logs(const request& asked) {
  asked.from.masks.clear_logs();
  packet answer = asked.begin_answer();
  append_status(answer, log_status::done);
  return answer;
}

reply log_ranges(const request& asked) {
  packet answer = asked.begin_answer();
  append_status(answer, log_status::done);
  for (const std::uint32_t items : log_items) append_le(answer, items);
  return answer;
}

constexpr std::size_t log_equipment_at = 8;
constexpr std::size_t log_count_at = 12;
constexpr std::size_t log_mask_at = 16;

/// status, equipment, number of bits, mask
void append_log_mask(packet& out, std::uint32_t equipment, std::uint32_t bits, byte_view mask) {
  append_status(out, log_status::done);
  append_le(out, equipment);
  append_le(out, bits);
  append(out, first_bits(mask, bits));
}

void append_bad_equipment(packet& out, std::uint32_t equipment) {
  append_status(out, log_status::bad_equipment);
  append_le(out, equipment);
  append_le(out, std::uint32_t{0});
}

reply valid_logs(const request& asked) {
  const auto equipment = asked.at<std::uint32_t>(log_equipment_at);
  packet answer = asked.begin_answer();
  if (has_logs(equipment)) {
    const std::vector<std::uint8_t> all(mask_bytes(items_per_equipment), 0xFF);
    append_log_mask(answer, equipment, log_items.at(equipment), all);
  } else {
    append_bad_equipment(answer, equipment);
  }
  return answer;
}

reply set_logs(const request& asked) {
  const auto equipment = asked.at<std::uint32_t>(log_equipment_at);
  const auto bits = asked.at<std::uint32_t>(log_count_at);
  if (bits > items_per_equipment) return refusal::bad_parameter;
  if (asked.bytes.size() != log_mask_at + mask_bytes(bits)) return refusal::bad_length;
  packet answer = asked.begin_answer();
  if (has_logs(equipment)) {
    asked.from.masks.set_logs(equipment, bits, asked.bytes.subspan(log_mask_at));
    append_log_mask(answer, equipment, bits, asked.from.masks.logs(equipment));
  } else {
    append_bad_equipment(answer, equipment);
  }
  return answer;
}

reply get_logs(const request& asked) {
  const auto equipment = asked.at<std::uint32_t>(log_equipment_at);
  packet answer = asked.begin_answer();
  if (has_logs(equipment)) {
    append_log_mask(answer, equipment, log_items.at(equipment), asked.from.masks.logs(equipment));
  } else {
    append_bad_equipment(answer, equipment);
  }
  return answer;
}

/// The answer is an event report without events.
reply event_reports(const request& asked) {
  const auto on = asked.at<std::uint8_t>(1);
  if (on > 1) return refusal::bad_parameter;
  asked.from.masks.report_events(on == 1);
  packet answer = asked.begin_answer();
  append_le(answer, std::uint16_t{0});
  return answer;
}

/// 0, reserved, number of bits, mask
void append_event_mask(packet& out, const masks& from, std::uint32_t bits) {
  out.push_back(0);
  append_le(out, std::uint16_t{0});
  append_le(out, static_cast<std::uint16_t>(bits));
  append(out, first_bits(from.events(), bits));
}

reply get_events(const request& asked) {
  packet answer = asked.begin_answer();
  append_event_mask(answer, asked.from.masks, event_ids);
  return answer;
}

constexpr std::size_t event_mask_at = 6;

reply set_events(const request& asked) {
  const std::uint32_t bits = asked.at<std::uint16_t>(4);
  if (bits > event_ids) return refusal::bad_parameter;
  if (asked.bytes.size() != event_mask_at + mask_bytes(bits)) return refusal::bad_length;
  asked.from.masks.set_events(bits, asked.bytes.subspan(event_mask_at));
  packet answer = asked.begin_answer();
  append_event_mask(answer, asked.from.masks, bits);
  return answer;
}

// The opposite of the status of log masks.
constexpr std::uint8_t messages_done = 1;
constexpr std::uint8_t messages_failed = 0;

reply message_range_list(const request& asked) {
  packet answer = asked.begin_answer();
  answer.push_back(messages_done);
  answer.push_back(0);
  append_le(answer, static_cast<std::uint32_t>(std::size(message_ranges)));
  for (const message_range& each : message_ranges) {
    append_le(answer, each.first);
    append_le(answer, each.last);
  }
  return answer;
}

struct asked_messages {
  std::uint16_t first;
  std::uint16_t last;

  [[nodiscard]] std::size_t count() const { return last - first + 1U; }
  [[nodiscard]] bool are_ours() const {
    return std::ranges::any_of(message_ranges, [this](const message_range& each) {
      return each.first <= first && last <= each.last;
    });
  }
};

constexpr std::size_t message_masks_at = 8;

template <typename MaskOf>
void append_messages(packet& out, const asked_messages& range, MaskOf mask_of) {
  out.push_back(range.are_ours() ? messages_done : messages_failed);
  out.push_back(0);
  if (!range.are_ours()) return;
  for (std::uint32_t id = range.first; id <= range.last; ++id) {
    append_le(out, std::uint32_t{mask_of(static_cast<std::uint16_t>(id))});
  }
}

reply built_messages(const request& asked) {
  const asked_messages range{asked.at<std::uint16_t>(2), asked.at<std::uint16_t>(4)};
  if (range.first > range.last) return refusal::bad_parameter;
  packet answer = asked.begin_answer();
  append_messages(answer, range, [](std::uint16_t) { return message_levels; });
  return answer;
}

reply get_messages(const request& asked) {
  const asked_messages range{asked.at<std::uint16_t>(2), asked.at<std::uint16_t>(4)};
  if (range.first > range.last) return refusal::bad_parameter;
  packet answer = asked.begin_answer();
  append_messages(answer, range, [&](std::uint16_t id) { return asked.from.masks.messages[id]; });
  return answer;
}

reply set_messages(const request& asked) {
  const asked_messages range{asked.at<std::uint16_t>(2), asked.at<std::uint16_t>(4)};
  if (range.first > range.last) return refusal::bad_parameter;
  if (asked.bytes.size() != message_masks_at + 4 * range.count()) return refusal::bad_length;
  if (range.are_ours()) {
    for (std::size_t i = 0; i < range.count(); ++i) {
      asked.from.masks.messages[static_cast<std::uint16_t>(range.first + i)] =
          asked.at<std::uint32_t>(message_masks_at + 4 * i);
    }
  }
  packet answer = asked.begin_answer();
  append_messages(answer, range, [&](std::uint16_t id) { return asked.from.masks.messages[id]; });
  return answer;
}

/// One router takes this with a single reserved byte; so do we.
reply set_all_messages(const request& asked) {
  const auto mask = asked.at<std::uint32_t>(asked.bytes.size() - 4);
  for (const message_range& each : message_ranges) {
    for (std::uint32_t id = each.first; id <= each.last; ++id) {
      asked.from.masks.messages[static_cast<std::uint16_t>(id)] = mask;
    }
  }
  packet answer = asked.begin_answer();
  answer.push_back(messages_done);
  answer.push_back(0);
  append_le(answer, mask);
  return answer;
}

constexpr command_row rows[] = {
    {plain(wire::event_control), "event reports", 2, 2, 1, event_reports},
    {plain(wire::event_mask_get), "get event mask", 4, 4, 1, get_events},
    {plain(wire::event_mask_set), "set event mask", 6, any_size, 1, set_events},
    {log_config(log_operation::disable), "disable logs", 8, 8, 8, disable_logs},
    {log_config(log_operation::ranges), "log ranges", 8, 8, 8, log_ranges},
    {log_config(log_operation::valid_mask), "valid logs", 12, 12, 8, valid_logs},
    {log_config(log_operation::set_mask), "set log mask", 16, any_size, 8, set_logs},
    {log_config(log_operation::get_mask), "get log mask", 12, 12, 8, get_logs},
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
