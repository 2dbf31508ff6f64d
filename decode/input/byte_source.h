// The bytes of a capture, whatever they are packed with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace decode {

/// A file cannot be opened; in words for a person, without its name.
class input_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class byte_source {
 public:
  byte_source(const byte_source&) = delete;
  byte_source& operator=(const byte_source&) = delete;
  virtual ~byte_source() = default;

  /// Fills the front of `out` and gives how much: less than asked only at the end. Everything that
  /// can be read is given; damage() says whether that was everything.
  [[nodiscard]] virtual std::size_t read(std::span<std::uint8_t> out) = 0;

  /// Bytes taken from the file so far, packed as they are there.
  [[nodiscard]] virtual std::uint64_t consumed() const = 0;

  /// The first thing that was found wrong so far, in words for a person; empty when nothing was.
  [[nodiscard]] const std::string& damage() const { return damage_; }

 protected:
  byte_source() = default;

  void report_damage(const std::string& what) {
    if (damage_.empty()) damage_ = what;
  }

 private:
  std::string damage_;
};

/// What unpacking may take unless more is allowed: enough for what the packers make of their own
/// accord, a dictionary of 64 MiB (`xz -9`) and a window of 128 MiB (`zstd --long`) included.
constexpr std::uint64_t unpacking_memory = std::uint64_t{136} * 1024 * 1024;

/// A file, or standard input for "-"; packed ones are unpacked, in `memory` bytes at most. Throws
/// input_error.
[[nodiscard]] std::unique_ptr<byte_source> open_source(const std::string& path,
                                                       std::uint64_t memory = unpacking_memory);

}  // namespace decode
