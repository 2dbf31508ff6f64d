// Big-endian integers, as Internet protocols have them.
#pragma once

#include <concepts>
#include <cstddef>

namespace decode::signalling {

/// Writes sizeof(T) bytes and returns their end.
template <std::unsigned_integral T>
char* put_big_endian(T value, char* out) {
  for (std::size_t i = sizeof(T); i > 0; --i) {
    *out++ = static_cast<char>(value >> (8 * (i - 1)) & 0xFF);
  }
  return out;
}

}  // namespace decode::signalling
