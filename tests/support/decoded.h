// A packet through its decoder, as a captured packet comes: with its own length.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "modem_stats/dispatch.h"
#include "support/bytes.h"

namespace support {

/// A record as "DATA_ID: hexadecimal bytes".
class decoded final : modem_stats::line_sink, modem_stats::record_sink {
 public:
  std::string lines;  // without the dispatcher's own
  std::vector<std::string> records;
  std::vector<std::string> beside;  // the bytes beside each of them, in hexadecimal
  modem_stats::stream_state state;  // after the packet

  static decoded log(std::uint16_t code, std::string_view payload) {
    return log(code, hex(payload));
  }
  static decoded log(std::uint16_t code, const bytes& payload) {
    return decoded(modem_stats::packet_kind::log, code, payload);
  }
  /// With the versions that the product's parsers reject.
  static decoded log_of_any_version(std::uint16_t code, std::string_view payload) {
    return decoded(modem_stats::packet_kind::log, code, hex(payload), {},
                   modem_stats::version_set::all);
  }
  static decoded event(std::uint16_t id, std::string_view payload,
                       const modem_stats::stream_state& before = {}) {
    return decoded(modem_stats::packet_kind::event, id, hex(payload), before);
  }

 private:
  decoded(modem_stats::packet_kind kind, std::uint16_t id, const bytes& payload,
          const modem_stats::stream_state& before = {},
          modem_stats::version_set versions = modem_stats::version_set::product)
      : state(before) {
    modem_stats::decode_packet({kind, id, 0, payload}, {.lines = this, .records = this}, state,
                               versions);
    lines.erase(0, lines.find('\n') + 1);
  }

  void write(std::string_view text) override { lines += text; }

  void record(const modem_stats::record_schema& schema,
              const modem_stats::record_data& data) override {
    records.push_back(std::to_string(schema.id) + ":" + digits_of(data.bytes));
    beside.push_back(digits_of(data.beside));
  }
};

}  // namespace support
