#include "decode/input/byte_source.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>
#include <vector>

#include "host/file_descriptor.h"

namespace decode {

namespace {

using host::file_descriptor;

[[noreturn]] void fail(const std::string& path, const std::string& why) {
  throw input_error(fmt::format("{}: {}", path == "-" ? "standard input" : path, why));
}

std::size_t read_some(int file, const std::string& path, std::span<std::uint8_t> out) {
  while (true) {
    const ssize_t count = ::read(file, out.data(), out.size());
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) fail(path, std::generic_category().message(errno));
  }
}

/// Fills `out`; less only at the end.
std::size_t read_all(int file, const std::string& path, std::span<std::uint8_t> out) {
  std::size_t done = 0;
  while (done < out.size()) {
    const auto count = read_some(file, path, out.subspan(done));
    if (count == 0) break;
    done += count;
  }
  return done;
}

constexpr std::size_t magic_size = 6;

/// Only what is surely packed goes through the archive library: it would take a capture that
/// begins by chance like one of its formats.
bool is_packed(std::span<const std::uint8_t> front) {
  constexpr std::array<std::uint8_t, 2> gzip = {0x1F, 0x8B};
  constexpr std::array<std::uint8_t, 4> zstd = {0x28, 0xB5, 0x2F, 0xFD};
  constexpr std::array<std::uint8_t, 3> bzip2 = {'B', 'Z', 'h'};
  constexpr std::array<std::uint8_t, 6> xz = {0xFD, '7', 'z', 'X', 'Z', 0};
  const auto begins = [&](std::span<const std::uint8_t> magic) {
    return front.size() >= magic.size() && std::ranges::equal(front.first(magic.size()), magic);
  };
  return begins(gzip) || begins(zstd) || begins(bzip2) || begins(xz);
}

class file_source final : public byte_source {
 public:
  file_source(std::string path, file_descriptor file, std::span<const std::uint8_t> front)
      : path_(std::move(path)), file_(std::move(file)), front_size_(front.size()) {
    std::ranges::copy(front, front_.begin());
  }

  std::size_t read(std::span<std::uint8_t> out) override {
    const auto begun = std::min(front_size_ - front_read_, out.size());
    std::copy_n(front_.begin() + static_cast<std::ptrdiff_t>(front_read_), begun, out.begin());
    front_read_ += begun;
    const auto count = begun + read_all(file_.get(), path_, out.subspan(begun));
    consumed_ += count;
    return count;
  }

  [[nodiscard]] std::uint64_t consumed() const override { return consumed_; }

 private:
  const std::string path_;
  const file_descriptor file_;
  std::array<std::uint8_t, magic_size> front_{};
  std::size_t front_size_;
  std::size_t front_read_ = 0;
  std::uint64_t consumed_ = 0;
};

class packed_source final : public byte_source {
 public:
  packed_source(std::string path, file_descriptor file, std::span<const std::uint8_t> front)
      : path_(std::move(path)), file_(std::move(file)), archive_(archive_read_new()) {
    packed_.resize(block_size);
    std::ranges::copy(front, packed_.begin());
    front_ = front.size();
    archive_read_support_filter_all(archive_.get());
    archive_read_support_format_raw(archive_.get());
    archive_entry* entry = nullptr;
    if (archive_read_open(archive_.get(), this, nullptr, &packed_source::give, nullptr) !=
            ARCHIVE_OK ||
        archive_read_next_header(archive_.get(), &entry) != ARCHIVE_OK) {
      fail_to_unpack();
    }
  }

  std::size_t read(std::span<std::uint8_t> out) override {
    std::size_t done = 0;
    while (done < out.size()) {
      const auto count = archive_read_data(archive_.get(), out.data() + done, out.size() - done);
      if (count == 0) break;
      if (count < 0) {
        // What could be unpacked before is worth having; the next call tells.
        if (done > 0) break;
        fail_to_unpack();
      }
      done += static_cast<std::size_t>(count);
    }
    return done;
  }

  [[nodiscard]] std::uint64_t consumed() const override { return consumed_; }

 private:
  [[noreturn]] void fail_to_unpack() const {
    // The library does not always say why.
    const char* const why = archive_error_string(archive_.get());
    fail(path_, why == nullptr ? "cannot be unpacked" : why);
  }

  static constexpr std::size_t block_size = std::size_t{256} * 1024;

  struct release {
    void operator()(archive* one) const { archive_read_free(one); }
  };

  static la_ssize_t give(archive* to, void* self, const void** block) {
    auto& source = *static_cast<packed_source*>(self);
    *block = source.packed_.data();
    auto count = std::exchange(source.front_, 0);
    if (count == 0) {
      const ssize_t more = ::read(source.file_.get(), source.packed_.data(), source.packed_.size());
      if (more < 0) {
        archive_set_error(to, errno, "%s", std::strerror(errno));
        return ARCHIVE_FATAL;
      }
      count = static_cast<std::size_t>(more);
    }
    source.consumed_ += count;
    return static_cast<la_ssize_t>(count);
  }

  const std::string path_;
  const file_descriptor file_;
  std::vector<std::uint8_t> packed_;
  std::size_t front_ = 0;  // bytes that were read to recognise the packing
  std::uint64_t consumed_ = 0;
  std::unique_ptr<archive, release> archive_;
};

}  // namespace

std::unique_ptr<byte_source> open_source(const std::string& path) {
  file_descriptor file(path == "-" ? ::dup(STDIN_FILENO)
                                   : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.valid()) fail(path, std::generic_category().message(errno));
  std::array<std::uint8_t, magic_size> magic{};
  const std::span front(magic.data(), read_all(file.get(), path, magic));
  if (is_packed(front)) {
    return std::make_unique<packed_source>(path, std::move(file), front);
  }
  return std::make_unique<file_source>(path, std::move(file), front);
}

}  // namespace decode
