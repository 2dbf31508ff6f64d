// Log packets back to back, without framing or checksum.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "protocol/bytes.h"

namespace decode {

/// Bytes before each inner log packet of these captures.
constexpr std::size_t logs_prefix = 0;
constexpr std::size_t bare_prefix = 4;  // 10 00 and the length once more

/// Takes the next inner log packet off the front of `bytes`. Nothing, and `bytes` is what is left
/// over, when there is no whole one. Bytes that cannot begin a packet are passed over and counted
/// until headers fit each other again.
[[nodiscard]] std::optional<protocol::byte_view> next_unframed(protocol::byte_view& bytes,
                                                               std::size_t prefix,
                                                               std::uint64_t& skipped);

}  // namespace decode
