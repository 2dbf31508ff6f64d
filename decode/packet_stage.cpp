#include "decode/packet_stage.h"

#include <utility>

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

bool changes_rrc_state(const packet_source& source) {
  return source.kind == packet_kind::event && source.id == lte_rrc_state_change;
}

}  // namespace

packet_stage::packet_stage(const filter& wanted, bool with_lines, stream from,
                           record_writer& writer, summary& counts)
    : wanted_(wanted),
      writer_(writer),
      counts_(counts),
      sinks_{.lines = with_lines ? this : nullptr, .records = this},
      stream_(std::move(from)),
      messages_(stream_.messages) {}

void packet_stage::packet(byte_view whole) {
  ++counts_.frames;
  source_.packet = stream_.counts.packets++;
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
  source_.packet = stream_.counts.packets++;
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
  begin(packet_kind::log, log.code, radio, log.time);
  if (wanted_.logs[log.code]) decode(log.payload);
  if (wanted_.signalling[log.code]) read_message(log);
}

void packet_stage::events(byte_view report, std::uint32_t radio) {
  diag::event_reader reader(report);
  while (const auto event = reader.next()) {
    counts_.events.add(event->id);
    begin(packet_kind::event, event->id, radio, event->time);
    if (wanted_.events[event->id]) decode(event->payload);
  }
  if (reader.damaged()) ++counts_.damaged_packets;
}

void packet_stage::begin(packet_kind kind, std::uint16_t id, std::uint32_t radio,
                         diag::time_stamp time) {
  source_ = {kind, id, radio, diag::to_unix_microseconds(time), source_.packet};
  counts_.packet(radio, source_.time);
}

void packet_stage::decode(byte_view payload) {
  // An event may have no payload at all.
  static constexpr std::uint8_t nothing[1] = {};
  if (payload.data() == nullptr) payload = byte_view(nothing, 0);
  if (!wanted_.wants(source_.time, source_.radio)) {
    // It still says what comes before a packet that is wanted.
    if (changes_rrc_state(source_)) decode(payload, {});
    return;
  }
  const auto records_before = records_;
  const auto outcome = decode(payload, sinks_);
  counts_.count(source_.kind, source_.id, outcome, records_ > records_before);
}

modem_stats::packet_outcome packet_stage::decode(byte_view payload,
                                                 const modem_stats::packet_sinks& to) {
  const bool changes_rrc = changes_rrc_state(source_);
  modem_stats::stream_state state{.versions_not_supported = stream_.counts.rejections};
  if (changes_rrc) {
    used_rrc_states_ = true;
    state.lte_rrc_last_state = stream_.rrc.of(source_.radio);
  }
  const auto outcome =
      modem_stats::decode_packet({source_.kind, source_.id, subscription(source_.radio), payload},
                                 to, state, wanted_.versions);
  stream_.counts.rejections = state.versions_not_supported;
  if (changes_rrc) stream_.rrc.set(source_.radio, state.lte_rrc_last_state);
  return outcome;
}

void packet_stage::restart() {
  counts_.incomplete_signalling += stream_.messages.size();
  stream_.restart();
}

void packet_stage::read_message(const diag::log_packet& log) {
  const auto now = messages_.read(log.code, source_.radio, log.payload);
  source_.radio = now.radio;
  if (!wanted_.wants(source_.time, source_.radio)) return;
  // A packet that is decoded to a record as well is counted already.
  if (!wanted_.logs[log.code] || now.outcome.rejected != modem_stats::rejection::none) {
    counts_.count(source_.kind, source_.id, now.outcome, true);
  }
  counts_.incomplete_signalling += messages_.take_given_up();
  if (!now.found) return;
  counts_.signalling.add(signalling::index_of(now.found->what));
  writer_.message(source_, *now.found);
}

void packet_stage::record(const modem_stats::record_schema& schema,
                          const modem_stats::record_data& data) {
  ++records_;
  counts_.cells.record(source_.radio, source_.time, schema, data);
  if (!wanted_.data_ids[schema.id]) return;
  counts_.records.add(schema.id);
  writer_.record(source_, schema, data);
}

}  // namespace decode
