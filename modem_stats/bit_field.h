// The position and width of a value in a packet.
#pragma once

namespace modem_stats {

/// `width` bits from bit `bit` on, counted from the least significant bit of the first byte of the
/// block that the decoder is reading. T is the type of the value; if it is signed, the highest bit
/// is the sign.
template <typename T>
struct bit_field {
  const char* name;  // as it appears in messages
  unsigned bit;
  unsigned width = 8 * sizeof(T);
};

/// A whole value at byte `byte` of the block.
template <typename T>
[[nodiscard]] constexpr bit_field<T> at_byte(const char* name, unsigned byte) {
  return {name, 8 * byte};
}

/// Stands for a field that a version does not have.
template <typename T>
inline constexpr bit_field<T> absent{nullptr, 0, 0};

}  // namespace modem_stats
