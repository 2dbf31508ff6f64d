// Unpacks gzip, zstd, bzip2 and xz, each with its own library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace decode {

/// This many bytes are enough to recognise the packing.
constexpr std::size_t packing_magic_size = 10;

/// Unpacks members (gzip's term; others say frame or stream) one after the other.
class unpacker {
 public:
  enum class result : std::uint8_t {
    more,           // the member continues; needs more input if the call changed nothing
    end_of_member,  // complete, with correct checksums
    failed,         // failure() says why
  };

  unpacker(const unpacker&) = delete;
  unpacker& operator=(const unpacker&) = delete;
  virtual ~unpacker() = default;

  /// To be called before each member.
  virtual void begin() = 0;

  /// Unpacks from the front of `packed` to the front of `out`, and removes from both what was
  /// processed, even on failure.
  [[nodiscard]] virtual result unpack(std::span<const std::uint8_t>& packed,
                                      std::span<std::uint8_t>& out) = 0;

  [[nodiscard]] const std::string& failure() const { return failure_; }

 protected:
  unpacker() = default;

  [[nodiscard]] result fail(std::string why) {
    failure_ = std::move(why);
    return result::failed;
  }

 private:
  std::string failure_;
};

struct packing {
  /// Whether a member starts at `front`; packing_magic_size bytes are enough.
  bool (*begins)(std::span<const std::uint8_t> front);
  /// Creates an unpacker that uses at most about `memory` bytes.
  std::unique_ptr<unpacker> (*make)(std::uint64_t memory);
};

/// The packing of a file that starts with `front`; null when it is not packed.
[[nodiscard]] const packing* packing_of(std::span<const std::uint8_t> front);

}  // namespace decode
