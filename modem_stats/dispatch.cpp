#include "modem_stats/dispatch.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iterator>
#include <string_view>

#include "modem_stats/line_text.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/record_slots.h"

namespace modem_stats {

namespace {

struct parser_row {
  std::uint16_t id;  // log code or event id
  const char* name;
  void (*parse)(packet_decoder& in);
};

#define TVK_PARSER(id, parser) {id, #parser, parser},
constexpr parser_row log_parsers[] = {
#include "modem_stats/log_parsers.inc"
};
constexpr parser_row event_parsers[] = {
#include "modem_stats/event_parsers.inc"
};
#undef TVK_PARSER

template <std::size_t n>
consteval bool ascends(const parser_row (&rows)[n]) {
  return std::ranges::adjacent_find(rows, std::ranges::greater_equal(), &parser_row::id) ==
         std::end(rows);
}
static_assert(ascends(log_parsers) && ascends(event_parsers));

/// The name of a packet in the name of its parser.
constexpr std::string_view name_in(std::string_view parser) {
  for (const std::string_view kind : {"_diag_log_", "_diag_event_event_", "_diag_event_"}) {
    const auto at = parser.find(kind);
    if (at != std::string_view::npos) return parser.substr(at + kind.size());
  }
  return parser;
}

const parser_row* parser_of(packet_kind kind, std::uint16_t id) {
  const std::span<const parser_row> rows =
      kind == packet_kind::log ? std::span<const parser_row>(log_parsers) : event_parsers;
  const auto row = std::ranges::lower_bound(rows, id, {}, &parser_row::id);
  return row != rows.end() && row->id == id ? &*row : nullptr;
}

void print_header(line_sink* lines, const packet& packet, int length) {
  if (lines == nullptr) return;
  line_text line;
  if (packet.kind == packet_kind::log) {
    line.add("modem_stats_diag_process_log_ex: log_id 0x%x, length %d, sub_id = %d", packet.id,
             length, packet.sub_id);
  } else {
    line.add("modem_stats_diag_process_event_ex: event_id %d, length %d, sub_id = %d", packet.id,
             length, packet.sub_id);
  }
  lines->write(line.finished());
}

packet_outcome decode(const packet& packet, window_end end, const packet_sinks& to,
                      stream_state& state, version_set versions) {
  const auto* const row = parser_of(packet.kind, packet.id);
  if (row == nullptr) return {};
  packet_decoder in(row->name, packet, end, to, state, versions);
  row->parse(in);
  return in.outcome();
}

}  // namespace

bool has_parser(packet_kind kind, std::uint16_t id) {
  return parser_of(kind, id) != nullptr;
}

std::string_view packet_name(packet_kind kind, std::uint16_t id) {
  const auto* const row = parser_of(kind, id);
  return row == nullptr ? std::string_view() : name_in(row->name);
}

packet_outcome decode_packet(const packet& packet, const packet_sinks& to, stream_state& state,
                             version_set versions) {
  print_header(to.lines, packet, static_cast<int>(packet.payload.size()));
  return decode(packet, window_end::of_packet, to, state, versions);
}

namespace {

class standard_output final : public line_sink {
 public:
  void write(std::string_view text) override { std::fwrite(text.data(), 1, text.size(), stdout); }
};

/// Process-wide state of the functions whose fixed signatures cannot carry it.
struct {
  stream_state stream;
  std::uint32_t current_id = 0;
} g_decoding;

void process(packet_kind kind, int sub_id, std::uint16_t id, unsigned char length,
             const unsigned char* payload) {
  standard_output lines;
  record_slots record;
  const packet packet{kind, id, sub_id, {payload, payload == nullptr ? 0U : length}};
  print_header(&lines, packet, length);
  if (payload == nullptr) {
    std::printf("MODEM_STATS_DATA_UNPK_START, payload is NULL, id(0x%x)\n", g_decoding.current_id);
    return;
  }
  g_decoding.current_id = id;
  decode(packet, window_end::sliding, {.lines = &lines, .records = &record}, g_decoding.stream,
         version_set::product);
}

}  // namespace

}  // namespace modem_stats

void modem_stats_diag_process_log_ex(int sub_id, unsigned short log_code, unsigned char length,
                                     unsigned char* payload) {
  modem_stats::process(modem_stats::packet_kind::log, sub_id, log_code, length, payload);
}

void modem_stats_diag_process_event_ex(int sub_id, unsigned short event_id, unsigned char length,
                                       unsigned char* payload) {
  modem_stats::process(modem_stats::packet_kind::event, sub_id, event_id, length, payload);
}
