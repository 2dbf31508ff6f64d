#include "decode/input/byte_source.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "decode/input/packed_source.h"
#include "host/file_descriptor.h"
#include "host/uninterrupted.h"

namespace decode {

namespace {

using host::file_descriptor;

class file_source final : public byte_source {
 public:
  explicit file_source(file_descriptor file) : file_(std::move(file)) {
    front_left_ = front_size_ = read_file(front_);
  }

  /// The first bytes; read() returns them as well.
  [[nodiscard]] std::span<const std::uint8_t> front() const {
    return std::span(front_).first(front_size_);
  }

  std::size_t read(std::span<std::uint8_t> out) override {
    const auto begun = std::min(front_left_, out.size());
    std::ranges::copy(front().last(front_left_).first(begun), out.begin());
    front_left_ -= begun;
    const auto count = begun + read_file(out.subspan(begun));
    consumed_ += count;
    return count;
  }

  [[nodiscard]] std::uint64_t consumed() const override { return consumed_; }

 private:
  std::size_t read_file(std::span<std::uint8_t> out) {
    std::size_t done = 0;
    while (done < out.size() && damage().empty()) {
      const ssize_t count = host::uninterrupted(
          [&] { return ::read(file_.get(), out.data() + done, out.size() - done); });
      if (count == 0) break;
      if (count > 0) {
        done += static_cast<std::size_t>(count);
      } else {
        report_damage(std::generic_category().message(errno));
      }
    }
    return done;
  }

  const file_descriptor file_;
  std::array<std::uint8_t, packing_magic_size> front_{};
  std::size_t front_size_ = 0;
  std::size_t front_left_ = 0;  // bytes that read() has not returned yet
  std::uint64_t consumed_ = 0;
};

}  // namespace

std::unique_ptr<byte_source> open_source(const std::string& path, std::uint64_t memory) {
  file_descriptor opened(path == "-" ? ::dup(STDIN_FILENO)
                                     : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!opened.valid()) throw input_error(std::generic_category().message(errno));
  auto file = std::make_unique<file_source>(std::move(opened));
  if (const auto* const how = packing_of(file->front())) {
    return std::make_unique<packed_source>(std::move(file), *how, memory);
  }
  return file;
}

}  // namespace decode
