// A capture in memory.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "decode/input/byte_source.h"

namespace support {

/// Gives what it has in reads that are as long as asked.
class memory_source final : public decode::byte_source {
 public:
  explicit memory_source(std::span<const std::uint8_t> content) : rest_(content) {}

  std::size_t read(std::span<std::uint8_t> out) override {
    const auto count = std::min(out.size(), rest_.size());
    std::copy_n(rest_.begin(), count, out.begin());
    rest_ = rest_.subspan(count);
    return count;
  }
  [[nodiscard]] std::uint64_t consumed() const override { return 0; }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace support
