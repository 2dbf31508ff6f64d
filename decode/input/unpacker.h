// The packings of captures: gzip, zstd, bzip2 and xz, each with the library of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace decode {

/// Bytes that show which packing a file has.
constexpr std::size_t packing_magic_size = 10;

/// Unpacks members (gzip's word; others say frame or stream) one after the other.
class unpacker {
 public:
  enum class result : std::uint8_t {
    more,           // there is more to come; without more input, when nothing changed
    end_of_member,  // whole, and its checksums are right
    failed,         // failure() says why
  };

  unpacker(const unpacker&) = delete;
  unpacker& operator=(const unpacker&) = delete;
  virtual ~unpacker() = default;

  /// To be called before each member.
  virtual void begin() = 0;

  /// Unpacks from the front of `packed` to the front of `out` and shortens both by what was done,
  /// also when it fails.
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
  /// A member begins with `front`, of which packing_magic_size bytes are enough.
  bool (*begins)(std::span<const std::uint8_t> front);
  /// Unpacks in about `memory` bytes.
  std::unique_ptr<unpacker> (*make)(std::uint64_t memory);
};

/// Of a file with this front; null when it is not packed.
[[nodiscard]] const packing* packing_of(std::span<const std::uint8_t> front);

}  // namespace decode
