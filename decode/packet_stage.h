// Decodes the wanted packets and passes records and lines to a writer.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "decode/filter.h"
#include "decode/output/record_output.h"
#include "decode/signalling/reader.h"
#include "decode/stream.h"
#include "decode/summary/summary.h"
#include "modem_stats/packet.h"
#include "protocol/bytes.h"
#include "protocol/log_packet.h"

namespace decode {

class packet_stage final : modem_stats::line_sink, modem_stats::record_sink {
 public:
  packet_stage(const filter& wanted, bool with_lines, stream from, record_writer& writer,
               summary& counts);
  packet_stage(const packet_stage&) = delete;
  packet_stage& operator=(const packet_stage&) = delete;
  ~packet_stage() = default;

  /// A packet from a frame: a log, an event report, or anything else, which is only counted.
  void packet(protocol::byte_view whole);
  /// A packet from a capture without frames.
  void inner_log(protocol::byte_view inner);

  /// A new connection; a capture gets a new stage.
  void restart();

  [[nodiscard]] const stream& state() const { return stream_; }
  /// Whether a packet was decoded whose result depends on the LTE RRC states before it.
  [[nodiscard]] bool used_rrc_states() const { return used_rrc_states_; }
  /// Whether there was a part of a message, whose result depends on the parts before it.
  [[nodiscard]] bool used_messages() const { return messages_.has_read_part(); }

 private:
  void log(const protocol::diag::log_packet& log, std::uint32_t radio);
  void events(protocol::byte_view report, std::uint32_t radio);
  void begin(modem_stats::packet_kind kind, std::uint16_t id, std::uint32_t radio,
             protocol::diag::time_stamp time);
  void decode(protocol::byte_view payload);
  modem_stats::packet_outcome decode(protocol::byte_view payload,
                                     const modem_stats::packet_sinks& to);
  void read_message(const protocol::diag::log_packet& log);

  void write(std::string_view text) override { writer_.line(source_, text); }
  void write_counted(std::string_view text, std::size_t count_at) override {
    writer_.counted_line(source_, text, count_at);
  }
  void record(const modem_stats::record_schema& schema,
              const modem_stats::record_data& data) override;

  const filter& wanted_;
  record_writer& writer_;
  summary& counts_;
  const modem_stats::packet_sinks sinks_;
  stream stream_;
  signalling::reader messages_;
  packet_source source_{};
  std::uint64_t records_ = 0;  // made so far, wanted or not
  bool used_rrc_states_ = false;
};

}  // namespace decode
