// Logs 0xB0C0 and 0xB821, RRC messages as they went over the air: the header and the numbering of
// channels vary with the version.
#pragma once

#include <cstdint>
#include <span>

#include "decode/signalling/reading.h"

namespace decode::signalling {

/// Where the fields of a header are. The length is that of the rest of the packet, the message.
struct ota_layout {
  std::uint8_t cell;
  std::uint8_t channel;
  std::uint8_t channel_size;
  std::uint8_t timing;  // 0: unknown
  std::uint8_t pdu;
  std::uint8_t length;
  std::uint8_t part;  // 0: messages are whole
  std::uint8_t message;
};

struct pdu_row {
  std::uint8_t number;
  kind what;
};

struct ota_version {
  std::uint32_t number;
  const ota_layout& layout;
  std::span<const pdu_row> pdus;
  std::span<const pdu_row> more_pdus = {};
};

/// The fields that LTE and NR have in common. `version` must be the packet's. A message is found if
/// nothing was rejected.
[[nodiscard]] reading read_ota(const ota_version& version, protocol::byte_view payload);

/// The row of a version, null for one that is not known.
[[nodiscard]] const ota_version* find_version(std::span<const ota_version> rows,
                                              std::uint32_t number);

}  // namespace decode::signalling
