#include "decode/packet_stage.h"

#include <algorithm>

#include "modem_stats/dispatch.h"

namespace decode {

namespace {

using modem_stats::packet_kind;
using protocol::byte_view;
namespace diag = protocol::diag;

constexpr std::uint16_t lte_rrc_state_change = 1606;

/// Parsers print the subscription as an index.
int subscription(std::uint32_t radio) {
  return static_cast<int>(radio) - 1;
}

}  // namespace

packet_stage::packet_stage(const filter& wanted, bool with_lines, const stream_state& state,
                           record_writer& writer, summary& counts)
    : wanted_(wanted),
      writer_(writer),
      counts_(counts),
      sinks_{.lines = with_lines ? this : nullptr, .records = this},
      state_(state) {}

void packet_stage::packet(byte_view whole) {
  ++counts_.frames;
  const auto unwrapped = diag::unwrap_radio(whole);
  if (!unwrapped || unwrapped->packet.empty()) {
    ++counts_.damaged_packets;
    return;
  }
  if (unwrapped->packet.size() != whole.size()) ++counts_.with_radio;
  const auto code = unwrapped->packet[0];
  counts_.messages.add(code);
  if (code == diag::log_code) {
    const auto found = diag::parse_log(unwrapped->packet);
    if (found) {
      log(*found, unwrapped->radio);
    } else {
      ++counts_.damaged_packets;
    }
  } else if (code == diag::event_code) {
    events(unwrapped->packet, unwrapped->radio);
  }
}

void packet_stage::inner_log(byte_view inner) {
  ++counts_.frames;
  counts_.messages.add(diag::log_code);
  const auto found = diag::parse_inner_log(inner);
  if (found) {
    log(*found, 1);
  } else {
    ++counts_.damaged_packets;
  }
}

void packet_stage::log(const diag::log_packet& log, std::uint32_t radio) {
  counts_.logs.add(log.code);
  begin({packet_kind::log, log.code, radio, diag::to_unix_microseconds(log.time)});
  if (wanted_.logs[log.code]) decode(log.payload);
}

void packet_stage::events(byte_view report, std::uint32_t radio) {
  diag::event_reader reader(report);
  while (const auto event = reader.next()) {
    counts_.events.add(event->id);
    begin({packet_kind::event, event->id, radio, diag::to_unix_microseconds(event->time)});
    if (wanted_.events[event->id]) decode(event->payload);
  }
  if (reader.damaged()) ++counts_.damaged_packets;
}

void packet_stage::begin(const packet_source& source) {
  source_ = source;
  counts_.first_time = std::min(counts_.first_time, source.time);
  counts_.last_time = std::max(counts_.last_time, source.time);
}

void packet_stage::decode(byte_view payload) {
  if (!wanted_.wants(source_.time, source_.radio)) return;
  if (source_.kind == packet_kind::event && source_.id == lte_rrc_state_change) {
    used_rrc_state_ = true;
  }
  // An event may have no payload at all.
  static constexpr std::uint8_t nothing[1] = {};
  if (payload.data() == nullptr) payload = byte_view(nothing, 0);
  const auto outcome =
      modem_stats::decode_packet({source_.kind, source_.id, subscription(source_.radio), payload},
                                 sinks_, state_, wanted_.versions);
  counts_.count(source_.kind, source_.id, outcome);
}

void packet_stage::record(const modem_stats::record_schema& schema,
                          const modem_stats::record_data& data) {
  if (!wanted_.data_ids[schema.id]) return;
  counts_.records.add(schema.id);
  writer_.record(source_, schema, data);
}

}  // namespace decode
