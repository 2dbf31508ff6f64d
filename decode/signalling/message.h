// A signalling message as a log packet holds it.
#pragma once

#include <cstdint>
#include <optional>

#include "decode/signalling/kind.h"
#include "protocol/bytes.h"

namespace decode::signalling {

struct message {
  kind what{};
  direction way = direction::unknown;
  protocol::byte_view bytes;                  // as the dissector reads them
  std::uint32_t version = 0;                  // of the log packet
  std::optional<std::uint32_t> channel = {};  // number of the radio channel, of the downlink
  std::optional<std::uint16_t> cell = {};     // physical cell id, or scrambling code
  std::optional<std::uint16_t> frame = {};    // system frame number
  std::optional<std::uint8_t> subframe = {};
  const char* note = nullptr;  // how the bytes differ from those logged
};

}  // namespace decode::signalling
