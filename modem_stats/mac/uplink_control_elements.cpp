#include "modem_stats/mac/uplink_control_elements.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace modem_stats::mac {
namespace {

using bytes = std::span<const u8>;

struct walk {
  packet_decoder& in;
  bool has_other_cell;
  buffer_sizes& sizes;

  void add(u8 buffer_size_index) {
    ++sizes.count;
    sizes.sum += buffer_size_index;
  }
};

constexpr unsigned bits(u8 octet, unsigned first, unsigned width) {
  return (unsigned{octet} >> first) & ((1U << width) - 1U);
}

void short_bsr(walk& to, const char* label, bytes body) {
  const auto index = static_cast<u8>(bits(body[0], 0, 5));
  to.in.print("------ %s: lcg = %d, bsr_idx = %d", label, bits(body[0], 5, 3), index);
  to.add(index);
}

/// A truncated report does not say which groups its indices belong to.
void long_bsr(walk& to, const char* label, bytes body) {
  if (body.empty()) return;
  const u8 groups = body[0];
  const auto announced = static_cast<std::size_t>(std::popcount(groups));
  const auto indices = body.subspan(1, std::min(body.size() - 1, announced));
  for (const u8 index : indices) {
    to.in.print("------ %s: lcg_bitmap = 0x%x, bsr_idx = %d", label, groups, index);
    to.add(index);
  }
}

void c_rnti(walk& to, const char* label, bytes body) {
  to.in.print("------ %s: c_rnti = %d", label, body[0] << 8 | body[1]);
}

void bit_rate(walk& to, const char* label, bytes body) {
  to.in.print("------ %s: lcid = %d, uplink = %d, bit_rate_idx = %d, times_100 = %d", label,
              bits(body[0], 2, 6), bits(body[0], 1, 1),
              bits(body[0], 0, 1) << 5 | bits(body[1], 3, 5), bits(body[1], 2, 1));
}

void single_phr(walk& to, const char* label, bytes body) {
  to.in.print("------ %s: phr_idx = %d, pcmax_idx = %d", label, bits(body[0], 0, 6),
              bits(body[1], 0, 6));
}

constexpr int other_cell = -1;  // the other MAC entity's special cell
constexpr int primary_cell = 0;

/// Prints the first cell's report in `entries` and returns the rest.
bytes cell_phr(walk& to, const char* label, int cell, bytes entries) {
  if (entries.empty()) return entries;
  const auto phr_idx = bits(entries[0], 0, 6);
  const bool is_virtual = bits(entries[0], 6, 1) != 0;  // there was no actual transmission
  if (is_virtual) {
    to.in.print("------ %s: cell = %d, phr_idx = %d", label, cell, phr_idx);
    return entries.subspan(1);
  }
  if (entries.size() < 2) return {};
  to.in.print("------ %s: cell = %d, phr_idx = %d, pcmax_idx = %d", label, cell, phr_idx,
              bits(entries[1], 0, 6));
  return entries.subspan(2);
}

template <unsigned bitmap_octets>
void cells_phr(walk& to, const char* label, bytes body) {
  if (body.size() < bitmap_octets) return;
  u32 cells = 0;
  for (unsigned i = 0; i < bitmap_octets; ++i) cells |= u32{body[i]} << (8 * i);
  auto entries = body.subspan(bitmap_octets);
  if (to.has_other_cell) entries = cell_phr(to, label, other_cell, entries);
  entries = cell_phr(to, label, primary_cell, entries);
  for (int cell = 1; cell < static_cast<int>(8 * bitmap_octets); ++cell) {
    if ((cells >> cell & 1U) != 0) entries = cell_phr(to, label, cell, entries);
  }
}

constexpr unsigned variable = ~0U;  // the length follows the first octet

struct element {
  unsigned lcid;
  unsigned length;  // octets
  const char* label;
  void (*decode)(walk& to, const char* label, bytes body);
};
constexpr element elements[] = {
    {53, 2, "BitrateMce", bit_rate},
    {54, variable, "Mc4Phr", cells_phr<4>},
    {55, 0, "", nullptr},  // configured grant confirmation
    {56, variable, "Mc1Phr", cells_phr<1>},
    {57, 2, "SinglePhr", single_phr},
    {58, 2, "CrntiStruct", c_rnti},
    {59, 1, "Short Truncated Bsr", short_bsr},
    {60, variable, "Long Truncated Bsr", long_bsr},
    {61, 1, "ShortBsr", short_bsr},
    {62, variable, "LongBsr", long_bsr},
};

}  // namespace

void walk_uplink_control_elements(packet_decoder& in, bytes octets, bool has_other_cell,
                                  buffer_sizes& sizes) {
  walk to{in, has_other_cell, sizes};
  while (!octets.empty()) {
    const u8 first = octets[0];
    octets = octets.subspan(1);
    const auto* const row = std::ranges::find(elements, bits(first, 0, 6), &element::lcid);
    if (row == std::end(elements)) return;
    std::size_t length = row->length;
    if (length == variable) {
      const std::size_t width = bits(first, 6, 1) != 0 ? 2 : 1;
      if (octets.size() < width) return;
      length = octets[0];
      if (width == 2) length = length << 8 | octets[1];
      octets = octets.subspan(width);
    }
    if (octets.size() < length) return;
    if (row->decode != nullptr) row->decode(to, row->label, octets.first(length));
    octets = octets.subspan(length);
  }
}

}  // namespace modem_stats::mac
