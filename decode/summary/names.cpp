#include "decode/summary/names.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "modem_stats/columns.h"
#include "modem_stats/dispatch.h"
#include "modem_stats/record_table.h"
#include "protocol/diag_commands.h"

namespace decode {

namespace {

namespace diag = protocol::diag;

struct message_row {
  std::uint8_t code;
  std::string_view name;
};
constexpr message_row messages[] = {
    {diag::log_code, "log"},
    {static_cast<std::uint8_t>(diag::error_code::bad_command), "error: command"},
    {static_cast<std::uint8_t>(diag::error_code::bad_parameter), "error: parameter"},
    {static_cast<std::uint8_t>(diag::error_code::bad_length), "error: length"},
    {static_cast<std::uint8_t>(diag::error_code::bad_mode), "error: mode"},
    {diag::nv_read, "NV item read"},
    {diag::nv_write, "NV item written"},
    {diag::subsystem_dispatch, "subsystem answer"},
    {diag::event_code, "events"},
    {diag::log_config, "log configuration"},
    {0x79, "debug message"},
    {diag::message_config, "message configuration"},
    {diag::delayed_subsystem_dispatch, "delayed subsystem answer"},
    {diag::event_mask_get, "event mask"},
    {diag::event_mask_set, "event mask set"},
    {0x92, "debug message, text by number"},
    {0x99, "debug message, text by number"},
};

}  // namespace

std::string_view message_name(std::uint32_t code) {
  const auto* const found = std::ranges::find(messages, code, &message_row::code);
  return found == std::end(messages) ? std::string_view() : found->name;
}

std::string_view record_name(std::uint32_t data_id) {
  return modem_stats::find_record_schema(static_cast<modem_stats_data_id_e_type>(data_id))->name;
}

std::string packet_code(modem_stats::packet_kind kind, std::uint32_t id) {
  return kind == modem_stats::packet_kind::log ? fmt::format("0x{:04X}", id)
                                               : fmt::format("event {}", id);
}

std::string version_text(std::uint32_t version) {
  std::array<char, modem_stats::max_version_size> text;
  return {text.data(), modem_stats::write_version(text.data(), version)};
}

log_list listed_logs(const summary& all) {
  log_list list{.codes = {}, .other_packets = all.other_logs};
  std::size_t without_decoder = 0;
  for (const auto code : all.logs.in_order()) {
    const bool has_decoder =
        modem_stats::has_parser(modem_stats::packet_kind::log, static_cast<std::uint16_t>(code));
    if (has_decoder || without_decoder < log_list::most_without_decoder) {
      list.codes.push_back(code);
      without_decoder += has_decoder ? 0 : 1;
    } else {
      list.other_packets += all.logs[code];
    }
  }
  return list;
}

std::string json_name(std::string_view name) {
  std::string lower(name);
  for (char& each : lower) {
    if (each == ' ') each = '_';
    if (each >= 'A' && each <= 'Z') each = static_cast<char>(each - 'A' + 'a');
  }
  return lower;
}

std::string_view technology_name(radio_technology technology) {
  return technology == radio_technology::lte ? "LTE" : "NR";
}

}  // namespace decode
