// The packets and records that the user asked for.
#pragma once

#include <bitset>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "modem_stats/packet.h"

namespace decode {

/// The user asked for something that does not exist; the message says what.
class selection_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct filter {
  std::bitset<65536> logs;
  std::bitset<4096> events;
  std::bitset<256> data_ids;
  std::int64_t from = INT64_MIN;  // microseconds, Unix; both ends are inclusive
  std::int64_t to = INT64_MAX;
  std::uint32_t radio = 0;  // 0: all
  modem_stats::version_set versions = modem_stats::version_set::all;

  /// Everything that has a decoder.
  [[nodiscard]] static filter all();

  /// Reduces a set to the listed members, which may be given by number or name. Codes of logs are
  /// hexadecimal with or without 0x, or else decimal. Throws selection_error.
  void select_logs(const std::vector<std::string>& list);
  void select_events(const std::vector<std::string>& list);
  void select_records(const std::vector<std::string>& list);

  [[nodiscard]] bool wants(std::int64_t time, std::uint32_t packet_radio) const {
    return from <= time && time <= to && (radio == 0 || radio == packet_radio);
  }
};

}  // namespace decode
