// Chunks of the LL1 firmware logs: a header word, then contents that depend on its code. A packet's
// first chunk is normally a container for the others.
#pragma once

#include "modem_stats/bit_field.h"
#include "modem_stats/record_schema.h"

namespace modem_stats::ll1_chunk {

// Bytes of the payload.
inline constexpr unsigned first = 12;
inline constexpr unsigned first_inner = 16;

// Of a chunk.
inline constexpr bit_field<u8> code{"code", 0, 8};
inline constexpr bit_field<u16> length{"length", 8, 12};  // in bytes, including the header

// Codes.
inline constexpr u8 container = 0xFC;
inline constexpr u8 discard = 0xFD;
inline constexpr u8 pad = 0xFE;

}  // namespace modem_stats::ll1_chunk
