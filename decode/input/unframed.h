// Consecutive log packets without framing or checksum.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "protocol/bytes.h"

namespace decode {

/// Bytes before each inner log packet, by kind of capture.
constexpr std::size_t logs_prefix = 0;
constexpr std::size_t bare_prefix = 4;  // 10 00, then the length, which the inner packet repeats

/// Takes the next inner log packet off the front of `bytes`. When there is no complete one, returns
/// no value and leaves the rest in `bytes`. Bytes that cannot begin a packet are skipped and
/// counted until several consistent headers follow each other again.
[[nodiscard]] std::optional<protocol::byte_view> next_unframed(protocol::byte_view& bytes,
                                                               std::size_t prefix,
                                                               std::uint64_t& skipped);

}  // namespace decode
