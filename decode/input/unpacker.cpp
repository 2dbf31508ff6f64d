#include "decode/input/unpacker.h"

#include <bzlib.h>
#include <fmt/format.h>
#include <lzma.h>
#include <zlib.h>
#include <zstd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <array>
#include <bit>
#include <initializer_list>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

namespace decode {

namespace {

using byte_view = std::span<const std::uint8_t>;

bool starts_with(byte_view front, std::initializer_list<std::uint8_t> magic) {
  return front.size() >= magic.size() && std::equal(magic.begin(), magic.end(), front.begin());
}

bool is_gzip(byte_view front) {
  constexpr std::uint8_t unknown_flags = 0xE0;
  return starts_with(front, {0x1F, 0x8B, 8}) && front.size() > 3 && (front[3] & unknown_flags) == 0;
}

/// A frame or a skippable frame, with which some packers begin.
bool is_zstd(byte_view front) {
  return starts_with(front, {0x28, 0xB5, 0x2F, 0xFD}) ||
         (!front.empty() && (front[0] & 0xF0) == 0x50 &&
          starts_with(front.subspan(1), {0x2A, 0x4D, 0x18}));
}

/// The magic with the block size, then the mark of the first block or of the end.
bool is_bzip2(byte_view front) {
  return starts_with(front, {'B', 'Z', 'h'}) && front.size() > 3 && front[3] >= '1' &&
         front[3] <= '9' &&
         (starts_with(front.subspan(4), {0x31, 0x41, 0x59, 0x26, 0x53, 0x59}) ||
          starts_with(front.subspan(4), {0x17, 0x72, 0x45, 0x38, 0x50, 0x90}));
}

bool is_xz(byte_view front) {
  return starts_with(front, {0xFD, '7', 'z', 'X', 'Z', 0});
}

constexpr const char* no_memory = "not enough memory to unpack it";

std::string needs_more_than(std::uint64_t memory) {
  return fmt::format("needs more than {} MiB of memory to be unpacked; --memory SIZE allows more",
                     memory >> 20);
}

/// zlib, bzip2 and xz name the members for input and output alike.
template <class Stream>
class stream_step {
 public:
  stream_step(Stream& stream, byte_view& packed, std::span<std::uint8_t>& out)
      : stream_(stream), packed_(packed), out_(out) {
    using input = decltype(stream.next_in);
    using output = decltype(stream.next_out);
    // Despite their types the libraries do not write to their input.
    stream.next_in = reinterpret_cast<input>(const_cast<std::uint8_t*>(packed.data()));
    stream.next_out = reinterpret_cast<output>(out.data());
    stream.avail_in = static_cast<decltype(stream.avail_in)>(packed.size());
    stream.avail_out = static_cast<decltype(stream.avail_out)>(out.size());
  }
  stream_step(const stream_step&) = delete;
  stream_step& operator=(const stream_step&) = delete;
  ~stream_step() {
    packed_ = packed_.last(stream_.avail_in);
    out_ = out_.last(stream_.avail_out);
  }

 private:
  Stream& stream_;
  byte_view& packed_;
  std::span<std::uint8_t>& out_;
};

class gzip_unpacker final : public unpacker {
 public:
  gzip_unpacker() {
    constexpr int gzip_only = 16;
    if (::inflateInit2(&stream_, MAX_WBITS + gzip_only) != Z_OK) throw std::bad_alloc();
  }
  ~gzip_unpacker() override { ::inflateEnd(&stream_); }

  void begin() override { ::inflateReset(&stream_); }

  result unpack(byte_view& packed, std::span<std::uint8_t>& out) override {
    const stream_step step(stream_, packed, out);
    switch (::inflate(&stream_, Z_NO_FLUSH)) {
      case Z_OK:
      case Z_BUF_ERROR:
        return result::more;
      case Z_STREAM_END:
        return result::end_of_member;
      case Z_MEM_ERROR:
        return fail(no_memory);
      default:
        return fail(stream_.msg == nullptr ? "damaged" : stream_.msg);
    }
  }

 private:
  z_stream stream_{};
};

/// Of a damaged block the library gives as much as the caller's room makes it notice late; so that
/// the result does not depend on how it is asked for, the room is always the same.
class bzip2_unpacker final : public unpacker {
 public:
  ~bzip2_unpacker() override { ::BZ2_bzDecompressEnd(&stream_); }

  void begin() override {
    ::BZ2_bzDecompressEnd(&stream_);
    if (::BZ2_bzDecompressInit(&stream_, 0, 0) != BZ_OK) throw std::bad_alloc();
    held_ = {};
    latest_ = result::more;
  }

  result unpack(byte_view& packed, std::span<std::uint8_t>& out) override {
    if (held_.empty()) {
      std::span<std::uint8_t> room(buffer_);
      latest_ = decompress(packed, room);
      held_ = std::span(buffer_).first(buffer_.size() - room.size());
    }
    const auto count = std::min(held_.size(), out.size());
    std::ranges::copy(held_.first(count), out.begin());
    held_ = held_.subspan(count);
    out = out.subspan(count);
    return held_.empty() ? latest_ : result::more;
  }

 private:
  result decompress(byte_view& packed, std::span<std::uint8_t>& out) {
    const stream_step step(stream_, packed, out);
    switch (::BZ2_bzDecompress(&stream_)) {
      case BZ_OK:
        return result::more;
      case BZ_STREAM_END:
        return result::end_of_member;
      case BZ_MEM_ERROR:
        return fail(no_memory);
      default:
        return fail("a checksum or a block is wrong");
    }
  }

  bz_stream stream_{};
  std::array<std::uint8_t, std::size_t{32} * 1024> buffer_{};
  std::span<const std::uint8_t> held_;  // of the buffer, not yet given
  result latest_ = result::more;
};

class xz_unpacker final : public unpacker {
 public:
  explicit xz_unpacker(std::uint64_t memory) : memory_(memory) {}
  ~xz_unpacker() override { ::lzma_end(&stream_); }

  void begin() override {
    if (::lzma_stream_decoder(&stream_, memory_, 0) != LZMA_OK) throw std::bad_alloc();
  }

  result unpack(byte_view& packed, std::span<std::uint8_t>& out) override {
    const stream_step step(stream_, packed, out);
    switch (::lzma_code(&stream_, LZMA_RUN)) {
      case LZMA_OK:
      case LZMA_BUF_ERROR:
        return result::more;
      case LZMA_STREAM_END:
        return result::end_of_member;
      case LZMA_MEM_ERROR:
        return fail(no_memory);
      case LZMA_MEMLIMIT_ERROR:
        return fail(needs_more_than(memory_));
      case LZMA_OPTIONS_ERROR:
        return fail("packed in a way that is not supported");
      default:
        return fail("a checksum or a block is wrong");
    }
  }

 private:
  const std::uint64_t memory_;
  lzma_stream stream_ = LZMA_STREAM_INIT;
};

class zstd_unpacker final : public unpacker {
 public:
  explicit zstd_unpacker(std::uint64_t memory) : memory_(memory), stream_(::ZSTD_createDStream()) {
    if (stream_ == nullptr) throw std::bad_alloc();
    const auto possible = ::ZSTD_dParam_getBounds(ZSTD_d_windowLogMax);
    ::ZSTD_DCtx_setParameter(stream_, ZSTD_d_windowLogMax,
                             std::clamp(static_cast<int>(std::bit_width(memory)) - 1,
                                        possible.lowerBound, possible.upperBound));
  }
  ~zstd_unpacker() override { ::ZSTD_freeDStream(stream_); }

  void begin() override {
    ::ZSTD_DCtx_reset(stream_, ZSTD_reset_session_only);
    wanted_ = 1;  // consume at least a byte, so that a rejected magic is not found again
  }

  /// A call that fails does not report what it wrote before, so no call may pass from a good block
  /// into a bad one. The library asks for a block plus the header of the next; that header is held
  /// back.
  result unpack(byte_view& packed, std::span<std::uint8_t>& out) override {
    constexpr std::size_t block_header_size = 3;
    const auto piece = wanted_ > block_header_size ? wanted_ - block_header_size : wanted_;
    ZSTD_inBuffer from{packed.data(), std::min(piece, packed.size()), 0};
    ZSTD_outBuffer to{out.data(), out.size(), 0};
    wanted_ = ::ZSTD_decompressStream(stream_, &to, &from);
    packed = packed.subspan(from.pos);
    out = out.subspan(to.pos);
    if (wanted_ == 0) return result::end_of_member;
    if (::ZSTD_isError(wanted_) == 0) return result::more;
    switch (::ZSTD_getErrorCode(wanted_)) {
      case ZSTD_error_memory_allocation:
        return fail(no_memory);
      case ZSTD_error_frameParameter_windowTooLarge:
        return fail(needs_more_than(memory_));
      default:
        return fail(::ZSTD_getErrorName(wanted_));
    }
  }

 private:
  const std::uint64_t memory_;
  ZSTD_DStream* const stream_;
  std::size_t wanted_ = 1;
};

template <class Unpacker>
std::unique_ptr<unpacker> make(std::uint64_t memory) {
  if constexpr (std::is_constructible_v<Unpacker, std::uint64_t>) {
    return std::make_unique<Unpacker>(memory);
  } else {
    return std::make_unique<Unpacker>();
  }
}

constexpr packing packings[] = {
    {is_gzip, make<gzip_unpacker>},
    {is_zstd, make<zstd_unpacker>},
    {is_bzip2, make<bzip2_unpacker>},
    {is_xz, make<xz_unpacker>},
};

}  // namespace

const packing* packing_of(byte_view front) {
  const auto* const found =
      std::ranges::find_if(packings, [&](const packing& one) { return one.begins(front); });
  return found == std::end(packings) ? nullptr : found;
}

}  // namespace decode
