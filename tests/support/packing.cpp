#include "support/packing.h"

#include <bzlib.h>
#include <lzma.h>
#include <zlib.h>
#include <zstd.h>

#include <stdexcept>

namespace support {

namespace {

void check(bool good) {
  if (!good) throw std::runtime_error("packing fails");
}

bytes room_for(const bytes& content) {
  return bytes(content.size() + content.size() / 50 + 1024);
}

void take(lzma_stream& stream, const bytes& content) {
  stream.next_in = content.data();
  stream.avail_in = content.size();
  check(lzma_code(&stream, LZMA_RUN) == LZMA_OK && stream.avail_in == 0);
}

/// The ones are never all in memory, which a program that is started here would inherit.
bytes xz_of(const bytes& content, std::size_t mib_of_ones) {
  constexpr std::size_t mib = std::size_t{1} << 20;
  bytes packed = room_for(content);
  packed.resize(packed.size() + mib_of_ones * mib / 1000);
  lzma_stream stream = LZMA_STREAM_INIT;
  constexpr std::uint32_t fastest = 0;
  check(lzma_easy_encoder(&stream, fastest, LZMA_CHECK_CRC64) == LZMA_OK);
  stream.next_out = packed.data();
  stream.avail_out = packed.size();
  take(stream, content);
  const bytes ones(mib_of_ones == 0 ? 0 : mib, 1);
  for (std::size_t i = 0; i < mib_of_ones; ++i) take(stream, ones);
  check(lzma_code(&stream, LZMA_FINISH) == LZMA_STREAM_END);
  packed.resize(stream.total_out);
  lzma_end(&stream);
  return packed;
}

}  // namespace

bytes gzip(const bytes& content) {
  constexpr int with_gzip_header = 16;
  bytes packed = room_for(content);
  z_stream stream{};
  check(deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, MAX_WBITS + with_gzip_header, 8,
                     Z_DEFAULT_STRATEGY) == Z_OK);
  stream.next_in = const_cast<Bytef*>(content.data());
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = packed.data();
  stream.avail_out = static_cast<uInt>(packed.size());
  check(deflate(&stream, Z_FINISH) == Z_STREAM_END);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

bytes zstd(const bytes& content) {
  bytes packed = room_for(content);
  ZSTD_CCtx* const context = ZSTD_createCCtx();
  ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, 1);
  const auto size =
      ZSTD_compress2(context, packed.data(), packed.size(), content.data(), content.size());
  ZSTD_freeCCtx(context);
  check(ZSTD_isError(size) == 0);
  packed.resize(size);
  return packed;
}

bytes bzip2(const bytes& content) {
  bytes packed = room_for(content);
  auto size = static_cast<unsigned>(packed.size());
  check(BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(packed.data()), &size,
                                 reinterpret_cast<char*>(const_cast<std::uint8_t*>(content.data())),
                                 static_cast<unsigned>(content.size()), 1, 0, 0) == BZ_OK);
  packed.resize(size);
  return packed;
}

bytes xz(const bytes& content) {
  return xz_of(content, 0);
}

bytes xz_with_dictionary(const bytes& content, std::size_t mib_of_ones, std::uint8_t code) {
  bytes packed = xz_of(content, mib_of_ones);
  // A block header of 12 bytes behind the stream's 12: size, flags, one filter (0x21) with one byte
  // of properties, padding, CRC32.
  constexpr std::size_t block = 12;
  check(packed.at(block) == 2 && packed.at(block + 2) == 0x21 && packed.at(block + 3) == 1);
  packed.at(block + 4) = code;
  auto crc = lzma_crc32(packed.data() + block, 8, 0);
  for (std::size_t i = 8; i < 12; ++i, crc >>= 8) {
    packed.at(block + i) = static_cast<std::uint8_t>(crc);
  }
  return packed;
}

}  // namespace support
