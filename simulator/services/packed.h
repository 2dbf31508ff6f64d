// Values of TLVs that are made of packed integers and texts.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

#include "protocol/bytes.h"
#include "simulator/modem/byte_strings.h"

namespace sim {

class packed {
 public:
  packed& u8(std::uint8_t value) { return add(value); }
  packed& u16(std::uint16_t value) { return add(value); }
  packed& u32(std::uint32_t value) { return add(value); }
  packed& u64(std::uint64_t value) { return add(value); }
  /// Rounded and clamped to the range of the integer.
  packed& s8(double value) { return add(static_cast<std::uint8_t>(clamped<std::int8_t>(value))); }
  packed& s16(double value) {
    return add(static_cast<std::uint16_t>(clamped<std::int16_t>(value)));
  }
  packed& s32(double value) {
    return add(static_cast<std::uint32_t>(clamped<std::int32_t>(value)));
  }
  packed& f32(double value) { return add(std::bit_cast<std::uint32_t>(static_cast<float>(value))); }
  packed& raw(protocol::byte_view value) {
    bytes_.insert(bytes_.end(), value.begin(), value.end());
    return *this;
  }
  packed& text(std::string_view value) { return raw(bytes_of(value)); }
  /// After their count.
  template <std::unsigned_integral Count = std::uint8_t>
  packed& counted(protocol::byte_view value) {
    return add(static_cast<Count>(value.size())).raw(value);
  }
  packed& counted_text(std::string_view value) { return counted(bytes_of(value)); }

  [[nodiscard]] protocol::byte_view view() const { return bytes_; }

 private:
  template <std::unsigned_integral T>
  packed& add(T value) {
    protocol::append_le(bytes_, value);
    return *this;
  }
  template <typename T>
  static T clamped(double value) {
    using limits = std::numeric_limits<T>;
    return static_cast<T>(std::clamp<double>(std::round(value), limits::lowest(), limits::max()));
  }

  std::vector<std::uint8_t> bytes_;
};

}  // namespace sim
