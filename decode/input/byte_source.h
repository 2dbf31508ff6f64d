// The bytes of a capture, unpacked if necessary.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace decode {

/// A file cannot be opened. The message is for the user and does not name the file.
class input_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class byte_source {
 public:
  byte_source(const byte_source&) = delete;
  byte_source& operator=(const byte_source&) = delete;
  virtual ~byte_source() = default;

  /// Fills `out` from the start and returns the number of bytes, which is less than its size only
  /// at the end. Returns everything that can be read; damage() says whether something was lost.
  [[nodiscard]] virtual std::size_t read(std::span<std::uint8_t> out) = 0;

  /// Bytes read from the file so far, before unpacking.
  [[nodiscard]] virtual std::uint64_t consumed() const = 0;

  /// The first problem found so far, as a message for the user; empty if there was none.
  [[nodiscard]] const std::string& damage() const { return damage_; }

 protected:
  byte_source() = default;

  void report_damage(const std::string& what) {
    if (damage_.empty()) damage_ = what;
  }

 private:
  std::string damage_;
};

/// Default memory limit for unpacking. It suffices for everything that packers produce unless told
/// to use more, up to a dictionary of 64 MiB (`xz -9`) or a window of 128 MiB (`zstd --long`).
constexpr std::uint64_t unpacking_memory = std::uint64_t{136} * 1024 * 1024;

/// Opens a file, or standard input for "-". Packed files are unpacked, using at most `memory`
/// bytes. Throws input_error.
[[nodiscard]] std::unique_ptr<byte_source> open_source(const std::string& path,
                                                       std::uint64_t memory = unpacking_memory);

}  // namespace decode
