// The bytes of a capture, whatever they are packed with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace decode {

/// Told in words for a person; the path is part of them.
class input_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class byte_source {
 public:
  byte_source(const byte_source&) = delete;
  byte_source& operator=(const byte_source&) = delete;
  virtual ~byte_source() = default;

  /// Fills the front of `out` and gives how much: less than asked only at the end or where no more
  /// can be read, which the next call tells. Throws input_error.
  [[nodiscard]] virtual std::size_t read(std::span<std::uint8_t> out) = 0;

  /// Bytes taken from the file so far, packed as they are there.
  [[nodiscard]] virtual std::uint64_t consumed() const = 0;

 protected:
  byte_source() = default;
};

/// A file, or standard input for "-"; gzip, zstd and what else the archive library unpacks are
/// unpacked. Throws input_error.
[[nodiscard]] std::unique_ptr<byte_source> open_source(const std::string& path);

}  // namespace decode
