// Where a value stands in a packet.
#pragma once

namespace modem_stats {

/// Bit `bit` (of the block that the decoder reads, counted from the least significant bit of its
/// first byte) and the `width - 1` bits behind it. T is what the value is kept in: a signed T takes
/// the highest bit as sign.
template <typename T>
struct bit_field {
  const char* name;  // as messages give it
  unsigned bit;
  unsigned width = 8 * sizeof(T);
};

/// A whole value at byte `byte` of the block.
template <typename T>
[[nodiscard]] constexpr bit_field<T> at_byte(const char* name, unsigned byte) {
  return {name, 8 * byte};
}

/// Marks a place that a version does not have.
template <typename T>
inline constexpr bit_field<T> absent{nullptr, 0, 0};

}  // namespace modem_stats
