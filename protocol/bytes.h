// Little-endian integers in byte strings, and a bounds-checked reader.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace protocol {

using byte_view = std::span<const std::uint8_t>;

/// Reads the first sizeof(T) bytes; `bytes` must have that many.
template <std::unsigned_integral T>
[[nodiscard]] constexpr T load_le(byte_view bytes) {
  T value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    value = static_cast<T>(value | (static_cast<T>(bytes[i]) << (8 * i)));
  }
  return value;
}

/// Writes sizeof(T) bytes; `out` must have room for them.
template <std::unsigned_integral T>
constexpr void store_le(T value, std::span<std::uint8_t> out) {
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    out[i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

template <std::unsigned_integral T>
void append_le(std::vector<std::uint8_t>& out, T value) {
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  }
}

/// Takes values off the front of a byte string; returns no value when too few bytes are left.
class byte_reader {
 public:
  explicit constexpr byte_reader(byte_view bytes) : rest_(bytes) {}

  template <std::unsigned_integral T>
  [[nodiscard]] constexpr std::optional<T> take() {
    if (rest_.size() < sizeof(T)) return std::nullopt;
    const T value = load_le<T>(rest_);
    rest_ = rest_.subspan(sizeof(T));
    return value;
  }

  [[nodiscard]] constexpr std::optional<byte_view> take_bytes(std::size_t count) {
    if (rest_.size() < count) return std::nullopt;
    const byte_view taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }

  [[nodiscard]] constexpr byte_view rest() const { return rest_; }
  [[nodiscard]] constexpr bool empty() const { return rest_.empty(); }

 private:
  byte_view rest_;
};

}  // namespace protocol
