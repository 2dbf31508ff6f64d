// CRC-16/X.25. On CPUs with carry-less multiplication, 16-byte blocks are folded into one: modulo
// the polynomial, a block L x^64 + H can be moved n bits closer to the end by multiplying L and H
// with constants, powers of x, and is then added to the block already there. Tables handle the last
// block, and everything on other CPUs.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "protocol/bytes.h"
#include "protocol/hdlc.h"

#if defined(__x86_64__)
#include <immintrin.h>
#elif defined(__aarch64__) && defined(__linux__)
#include <arm_neon.h>
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace protocol::hdlc {
namespace {

constexpr std::size_t block_size = 16;
constexpr std::uint16_t start = 0xFFFF;

/// The lowest bit is the highest power of x.
constexpr std::uint16_t times_x(std::uint16_t remainder) {
  constexpr std::uint16_t polynomial = 0x8408;
  return static_cast<std::uint16_t>((remainder >> 1) ^ ((remainder & 1) != 0 ? polynomial : 0));
}

using table = std::array<std::uint16_t, 256>;

/// Table k: what a byte contributes to the CRC when k more bytes follow it.
constexpr std::array<table, block_size> make_tables() {
  std::array<table, block_size> tables{};
  for (std::size_t byte = 0; byte < 256; ++byte) {
    auto crc = static_cast<std::uint16_t>(byte);
    for (auto& row : tables) {
      for (int bit = 0; bit < 8; ++bit) crc = times_x(crc);
      row.at(byte) = crc;
    }
  }
  return tables;
}
constexpr auto tables = make_tables();

/// At most one block. The look-ups are independent of each other and can run in parallel.
inline std::uint16_t add_block(std::uint16_t crc, const std::uint8_t* bytes, std::size_t count) {
  const unsigned before = crc;
  unsigned next = count < 2 ? before >> (8 * count) : 0U;
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned from_crc = i < 2 ? before >> (8 * i) : 0U;
    next ^= tables[count - 1 - i][(bytes[i] ^ from_crc) & 0xFFU];
  }
  return static_cast<std::uint16_t>(next);
}

std::uint16_t add_by_tables(std::uint16_t crc, byte_view bytes) {
  while (bytes.size() >= block_size) {
    crc = add_block(crc, bytes.data(), block_size);
    bytes = bytes.subspan(block_size);
  }
  return add_block(crc, bytes.data(), bytes.size());
}

#if defined(__x86_64__) || (defined(__aarch64__) && defined(__linux__))
#define TVK_HAS_FOLDING

/// The factor that moves 64 bits `bits` places on. It is one power less than that, because the
/// product of two bit-reflected words comes out one place too far.
constexpr std::uint64_t power(unsigned bits) {
  std::uint16_t remainder = 0x8000;  // 1
  for (unsigned i = 1; i < bits; ++i) remainder = times_x(remainder);
  return static_cast<std::uint64_t>(remainder) << 48;
}

struct distance {
  std::uint64_t low;
  std::uint64_t high;
};
template <unsigned Blocks>
constexpr distance blocks_on{power(Blocks * 128 + 64), power(Blocks * 128)};

#if defined(__x86_64__)
#define TVK_FOLDING_TARGET __attribute__((target("pclmul,sse4.1")))
using block = __m128i;

TVK_FOLDING_TARGET inline block load(const std::uint8_t* bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}
TVK_FOLDING_TARGET inline void store(std::uint8_t* bytes, block from) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), from);
}
TVK_FOLDING_TARGET inline block mix(block a, block b) {
  return _mm_xor_si128(a, b);
}
TVK_FOLDING_TARGET inline block first_bytes(std::uint16_t crc) {
  return _mm_cvtsi32_si128(crc);
}
TVK_FOLDING_TARGET inline block fold(block from, const distance& by, block into) {
  const block factors =
      _mm_set_epi64x(static_cast<std::int64_t>(by.high), static_cast<std::int64_t>(by.low));
  return mix(into, mix(_mm_clmulepi64_si128(from, factors, 0x00),
                       _mm_clmulepi64_si128(from, factors, 0x11)));
}
bool can_fold() {
  return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
}
#else
#define TVK_FOLDING_TARGET __attribute__((target("+crypto")))
using block = uint64x2_t;

TVK_FOLDING_TARGET inline block load(const std::uint8_t* bytes) {
  return vreinterpretq_u64_u8(vld1q_u8(bytes));
}
TVK_FOLDING_TARGET inline void store(std::uint8_t* bytes, block from) {
  vst1q_u8(bytes, vreinterpretq_u8_u64(from));
}
TVK_FOLDING_TARGET inline block mix(block a, block b) {
  return veorq_u64(a, b);
}
TVK_FOLDING_TARGET inline block first_bytes(std::uint16_t crc) {
  return vsetq_lane_u64(crc, vdupq_n_u64(0), 0);
}
TVK_FOLDING_TARGET inline block product(std::uint64_t a, std::uint64_t b) {
  return vreinterpretq_u64_p128(vmull_p64(a, b));
}
TVK_FOLDING_TARGET inline block fold(block from, const distance& by, block into) {
  return mix(into, mix(product(vgetq_lane_u64(from, 0), by.low),
                       product(vgetq_lane_u64(from, 1), by.high)));
}
bool can_fold() {
  return (getauxval(AT_HWCAP) & HWCAP_PMULL) != 0;
}
#endif

/// Needs at least one block.
TVK_FOLDING_TARGET std::uint16_t add_by_folding(std::uint16_t crc, byte_view bytes) {
  constexpr std::size_t lanes = 4;
  const std::uint8_t* at = bytes.data();
  std::size_t left = bytes.size();
  block sum = mix(load(at), first_bytes(crc));
  if (left >= lanes * block_size) {
    block second = load(at + block_size);
    block third = load(at + 2 * block_size);
    block fourth = load(at + 3 * block_size);
    for (; left >= 2 * lanes * block_size; left -= lanes * block_size) {
      at += lanes * block_size;
      sum = fold(sum, blocks_on<lanes>, load(at));
      second = fold(second, blocks_on<lanes>, load(at + block_size));
      third = fold(third, blocks_on<lanes>, load(at + 2 * block_size));
      fourth = fold(fourth, blocks_on<lanes>, load(at + 3 * block_size));
    }
    sum = fold(fold(fold(sum, blocks_on<1>, second), blocks_on<1>, third), blocks_on<1>, fourth);
    at += (lanes - 1) * block_size;
    left -= (lanes - 1) * block_size;
  }
  for (; left >= 2 * block_size; left -= block_size) {
    at += block_size;
    sum = fold(sum, blocks_on<1>, load(at));
  }
  std::array<std::uint8_t, block_size> last{};
  store(last.data(), sum);
  const std::uint16_t folded = add_block(0, last.data(), block_size);
  return add_block(folded, at + block_size, left - block_size);
}
#endif

std::uint16_t finished(std::uint16_t crc) {
  return static_cast<std::uint16_t>(~crc);
}

}  // namespace

std::uint16_t crc16_by_tables(byte_view bytes) {
  return finished(add_by_tables(start, bytes));
}

std::uint16_t crc16(byte_view bytes) {
#ifdef TVK_HAS_FOLDING
  static const bool folding = can_fold();
  if (folding && bytes.size() >= block_size) return finished(add_by_folding(start, bytes));
#endif
  return crc16_by_tables(bytes);
}

}  // namespace protocol::hdlc
