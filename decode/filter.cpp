#include "decode/filter.h"

#include <fmt/format.h>

#include <charconv>
#include <optional>
#include <string_view>

#include "decode/packet_name.h"
#include "host/near_name.h"
#include "modem_stats/dispatch.h"
#include "modem_stats/record_table.h"

namespace decode {

using modem_stats::packet_kind;

namespace {

std::optional<std::size_t> number_of(std::string_view text, int base) {
  std::size_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

/// The member of `possible` that a text stands for. Without 0x a number is read in each of `bases`,
/// until one gives a member. `name_of` has the name of each member.
template <std::size_t n, typename Name>
std::size_t find(const std::bitset<n>& possible, std::string_view text,
                 std::initializer_list<int> bases, Name name_of) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const auto is_member = [&](std::optional<std::size_t> number) {
    return number && *number < n && possible[*number];
  };
  if (hex) {
    if (const auto number = number_of(text.substr(2), 16); is_member(number)) return *number;
  } else {
    for (const int base : bases) {
      if (const auto number = number_of(text, base); is_member(number)) return *number;
    }
  }
  std::vector<std::string_view> names;
  for (std::size_t member = 0; member < n; ++member) {
    if (!possible[member]) continue;
    names.push_back(name_of(member));
    if (names.back() == text) return member;
  }
  const auto near = host::near_name(text, names);
  throw selection_error(fmt::format("'{}' has no decoder{}", text,
                                    near.empty() ? "" : fmt::format("; did you mean {}?", near)));
}

template <std::size_t n, typename Name>
void select(std::bitset<n>& wanted, const std::vector<std::string>& list,
            std::initializer_list<int> bases, Name name_of) {
  std::bitset<n> selected;
  for (const auto& text : list) selected.set(find(wanted, text, bases, name_of));
  wanted = selected;
}

}  // namespace

void filter::select_logs(const std::vector<std::string>& list) {
  auto either = logs | signalling;
  select(either, list, {16, 10}, [](std::size_t code) {
    return decode::packet_name(packet_kind::log, static_cast<std::uint16_t>(code));
  });
  logs &= either;
  signalling &= either;
}

void filter::select_events(const std::vector<std::string>& list) {
  select(events, list, {10}, [](std::size_t id) {
    return decode::packet_name(packet_kind::event, static_cast<std::uint16_t>(id));
  });
}

void filter::select_records(const std::vector<std::string>& list) {
  select(data_ids, list, {10}, [](std::size_t id) -> std::string_view {
    return modem_stats::find_record_schema(static_cast<modem_stats_data_id_e_type>(id))->name;
  });
}

filter filter::all() {
  filter every;
  for (const auto* const schema : modem_stats::record_table()) every.data_ids.set(schema->id);
  for (std::size_t code = 0; code < every.logs.size(); ++code) {
    every.logs[code] = modem_stats::has_parser(packet_kind::log, static_cast<std::uint16_t>(code));
  }
  for (std::size_t id = 0; id < every.events.size(); ++id) {
    every.events[id] = modem_stats::has_parser(packet_kind::event, static_cast<std::uint16_t>(id));
  }
  return every;
}

}  // namespace decode
