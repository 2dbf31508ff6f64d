// Fields one after the other, as DIAG packets, their logs and NAS messages have them.
#pragma once

#include <concepts>
#include <cstdint>
#include <string_view>
#include <vector>

#include "protocol/bytes.h"

namespace sim::diag {

class byte_string {
 public:
  // The lowest bits of each value, little-endian.
  template <std::integral... T>
  byte_string& u8(T... values) {
    return put<std::uint8_t>(values...);
  }
  template <std::integral... T>
  byte_string& u16(T... values) {
    return put<std::uint16_t>(values...);
  }
  template <std::integral... T>
  byte_string& u32(T... values) {
    return put<std::uint32_t>(values...);
  }
  template <std::integral... T>
  byte_string& u64(T... values) {
    return put<std::uint64_t>(values...);
  }
  /// The lowest `width` bytes of the value, highest first.
  byte_string& big_endian(unsigned width, std::size_t value) {
    while (width-- > 0) u8(value >> 8 * width);
    return *this;
  }

  byte_string& bytes(protocol::byte_view more) {
    for (const std::uint8_t each : more) u8(each);
    return *this;
  }
  byte_string& bytes(const byte_string& more) { return bytes(more.bytes_); }
  byte_string& text(std::string_view more) {
    for (const char each : more) u8(each);
    return *this;
  }
  byte_string& c_string(std::string_view more) { return text(more).u8(0); }
  byte_string& zeros(std::size_t count) {
    bytes_.resize(bytes_.size() + count);
    return *this;
  }

  [[nodiscard]] const std::vector<std::uint8_t>& view() const { return bytes_; }
  operator std::vector<std::uint8_t>() const { return bytes_; }

 private:
  template <typename Field, typename... T>
  byte_string& put(T... values) {
    (protocol::append_le(bytes_, static_cast<Field>(values)), ...);
    return *this;
  }

  std::vector<std::uint8_t> bytes_;
};

}  // namespace sim::diag
