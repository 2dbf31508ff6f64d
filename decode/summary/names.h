// Names of what a summary counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "decode/summary/summary.h"

namespace decode {

/// Of a packet by its first byte; empty for an unknown one.
[[nodiscard]] std::string_view message_name(std::uint32_t code);

[[nodiscard]] std::string_view record_name(std::uint32_t data_id);

/// "0xB193" or "event 1606".
[[nodiscard]] std::string packet_code(modem_stats::packet_kind kind, std::uint32_t id);

/// "36", or "2.9" for major and minor number.
[[nodiscard]] std::string version_text(std::uint32_t version);
/// All that have no line of their own.
inline constexpr std::string_view other_versions = "others";

/// "bad_crc" for "bad CRC".
[[nodiscard]] std::string json_name(std::string_view name);

[[nodiscard]] std::string_view technology_name(radio_technology technology);

/// The codes of logs that a summary lists: all that have a decoder, and of the others the lowest.
struct log_list {
  static constexpr std::size_t most_without_decoder = 256;

  std::vector<std::uint32_t> codes;
  std::uint64_t other_packets = 0;
};
[[nodiscard]] log_list listed_logs(const summary& all);

}  // namespace decode
