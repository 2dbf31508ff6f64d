// Unpacks a file as it is read.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "decode/input/byte_source.h"
#include "decode/input/unpacker.h"

namespace decode {

/// What members of one packing, one after the other, hold. Zeros between and after them are
/// padding. Where something is wrong, unpacking goes on with the next member that can be found.
class packed_source final : public byte_source {
 public:
  /// Takes about `memory` bytes at most.
  packed_source(std::unique_ptr<byte_source> from, const packing& how, std::uint64_t memory);

  [[nodiscard]] std::size_t read(std::span<std::uint8_t> out) override;
  [[nodiscard]] std::uint64_t consumed() const override { return from_->consumed(); }

 private:
  /// Looks for the front of a member; false at the end.
  [[nodiscard]] bool find_member();
  /// Keeps what is there and reads more behind it.
  void refill();

  const std::unique_ptr<byte_source> from_;
  const packing& how_;
  const std::unique_ptr<unpacker> unpacker_;
  std::vector<std::uint8_t> buffer_;
  std::span<const std::uint8_t> packed_;  // in buffer_, not unpacked yet
  bool in_member_ = false;
};

}  // namespace decode
