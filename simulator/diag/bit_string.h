// Bits in the order of unaligned PER, as RRC messages are encoded.
#pragma once

#include <cstdint>
#include <vector>

#include "protocol/bytes.h"

namespace sim::diag {

class bit_string {
 public:
  /// The lowest `width` bits of the value, highest first.
  bit_string& put(unsigned width, std::uint64_t value) {
    while (width-- > 0) {
      if (used_ % 8 == 0) bytes_.push_back(0);
      const auto bit = static_cast<unsigned>(value >> width & 1);
      bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | bit << (7 - used_ % 8));
      ++used_;
    }
    return *this;
  }

  /// Bytes with their number in front, at most 127.
  bit_string& put_octets(protocol::byte_view octets) {
    put(8, octets.size());
    for (const auto octet : octets) put(8, octet);
    return *this;
  }

  /// Zeros up to a byte at the end.
  [[nodiscard]] const std::vector<std::uint8_t>& bytes() const { return bytes_; }

 private:
  std::vector<std::uint8_t> bytes_;
  unsigned used_ = 0;
};

}  // namespace sim::diag
