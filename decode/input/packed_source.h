// Unpacks a file while reading it.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "decode/input/byte_source.h"
#include "decode/input/unpacker.h"

namespace decode {

/// The contents of a file that consists of members of one packing. Zeros between and after members
/// are padding. After damage, unpacking resumes with the next member that can be found.
class packed_source final : public byte_source {
 public:
  /// Uses at most about `memory` bytes.
  packed_source(std::unique_ptr<byte_source> from, const packing& how, std::uint64_t memory);

  [[nodiscard]] std::size_t read(std::span<std::uint8_t> out) override;
  [[nodiscard]] std::uint64_t consumed() const override { return from_->consumed(); }

 private:
  /// Looks for the start of a member; false at the end.
  [[nodiscard]] bool find_member();
  /// Keeps the unread bytes and reads more after them.
  void refill();

  const std::unique_ptr<byte_source> from_;
  const packing& how_;
  const std::unique_ptr<unpacker> unpacker_;
  std::vector<std::uint8_t> buffer_;
  std::span<const std::uint8_t> packed_;  // bytes in buffer_ that are not unpacked yet
  bool in_member_ = false;
};

}  // namespace decode
