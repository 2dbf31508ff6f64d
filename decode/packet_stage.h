// Decodes the wanted packets and passes records and lines to a writer.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "decode/filter.h"
#include "decode/output/record_output.h"
#include "decode/signalling/reader.h"
#include "decode/summary.h"
#include "modem_stats/packet.h"
#include "protocol/bytes.h"
#include "protocol/log_packet.h"

namespace decode {

using modem_stats::stream_state;

class packet_stage final : modem_stats::line_sink, modem_stats::record_sink {
 public:
  packet_stage(const filter& wanted, bool with_lines, const stream_state& state,
               signalling::open_messages open, record_writer& writer, summary& counts);
  packet_stage(const packet_stage&) = delete;
  packet_stage& operator=(const packet_stage&) = delete;
  ~packet_stage() = default;

  /// A packet from a frame: a log, an event report, or anything else, which is only counted.
  void packet(protocol::byte_view whole);
  /// A packet from a capture without frames.
  void inner_log(protocol::byte_view inner);

  [[nodiscard]] const stream_state& state() const { return state_; }
  /// Whether a packet was decoded whose result depends on the LTE RRC state before it.
  [[nodiscard]] bool used_rrc_state() const { return used_rrc_state_; }
  /// The rest of messages of which there are only parts will not come.
  void end_messages() { counts_.incomplete_signalling += messages_.give_up(); }
  [[nodiscard]] const signalling::reader& messages() const { return messages_; }

 private:
  void log(const protocol::diag::log_packet& log, std::uint32_t radio);
  void events(protocol::byte_view report, std::uint32_t radio);
  void begin(const packet_source& source);
  void decode(protocol::byte_view payload);
  void read_message(const protocol::diag::log_packet& log);

  void write(std::string_view text) override { writer_.lines(source_, text); }
  void record(const modem_stats::record_schema& schema,
              std::span<const std::uint8_t> data) override;

  const filter& wanted_;
  record_writer& writer_;
  summary& counts_;
  const modem_stats::packet_sinks sinks_;
  stream_state state_;
  signalling::reader messages_;
  packet_source source_{};
  bool used_rrc_state_ = false;
};

}  // namespace decode
