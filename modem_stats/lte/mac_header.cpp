#include "modem_stats/lte/mac_header.h"

#include <array>
#include <iterator>

namespace modem_stats::lte {
namespace {

// Octet of a sub-header: R, F2, E, LCID.
constexpr unsigned two_byte_length = 0x40;
constexpr unsigned another_follows = 0x20;
constexpr unsigned lcid_mask = 0x1F;

constexpr u8 power_headroom = 26;
constexpr u8 truncated_bsr = 28;
constexpr u8 short_bsr = 29;
constexpr u8 long_bsr = 30;

constexpr int unknown = -1;
constexpr int as_sub_header = -2;  // its length is in the sub-header
constexpr int data = -3;           // no control element, and a length in the sub-header

/// Bytes of the control element, by LCID.
constexpr int element_sizes[] = {
    data,          data,          data, data,    data,    data,    data,    data,     // 0
    data,          data,          data, unknown, unknown, unknown, unknown, unknown,  // 8
    unknown,       unknown,       4,    1,       2,       0,       unknown, unknown,  // 16
    as_sub_header, as_sub_header, 1,    2,       1,       1,       3,       0,        // 24
};
static_assert(std::size(element_sizes) == lcid_mask + 1);

/// The upper bound in bytes of each buffer size index (TS 36.321, table 6.1.3.1-1). The last index
/// has none and counts as its lower bound.
constexpr u32 buffer_sizes[] = {
    0,     10,    12,    14,    17,     19,     22,     26,     // 0
    31,    36,    42,    49,    57,     67,     78,     91,     // 8
    107,   125,   146,   171,   200,    234,    274,    321,    // 16
    376,   440,   515,   603,   706,    826,    967,    1132,   // 24
    1326,  1552,  1817,  2127,  2490,   2915,   3413,   3995,   // 32
    4677,  5476,  6411,  7505,  8787,   10287,  12043,  14099,  // 40
    16507, 19325, 22624, 26487, 31009,  36304,  42502,  49759,  // 48
    58255, 68201, 79846, 93479, 109439, 128125, 150000, 150000,
};
static_assert(std::size(buffer_sizes) == 64);

constexpr unsigned max_sub_headers = 32;

struct sub_header {
  u8 lcid = 0;
  unsigned element_bytes = 0;
};

/// Reads octets, but not beyond the end of the header.
class octets {
 public:
  octets(packet_decoder& in, u8 hdr_len) : in_(in), end_(hdr_len) {}

  u8 next() {
    skip(1);
    return last();
  }
  void skip(unsigned bytes) {
    at_ += bytes;
    in_.check_valid(at_ <= end_, end_, "hdr_len");
  }
  /// The octet before the cursor.
  [[nodiscard]] u8 last() const { return in_.bits(at_byte<u8>("mac_header", at_ - 1)); }

 private:
  packet_decoder& in_;
  unsigned end_;
  unsigned at_ = 0;
};

/// The length that follows a sub-header's first octet.
unsigned read_length(octets& from, unsigned first) {
  const unsigned high = from.next();
  if ((first & two_byte_length) != 0) return high << 8 | from.next();
  if ((high & 0x80) != 0) return (high & 0x7F) << 8 | from.next();
  return high;
}

void add_buffer_status(packet_decoder& in, unsigned count_tb, unsigned entry, u8 index,
                       mac_reports& reports) {
  if (index >= std::size(buffer_sizes)) {
    in.print("error, bsr_lcg3[%d][%d] = %d, bsr_lcg3_num = %d, bsr_lcg3_sum = %d", count_tb, entry,
             index, reports.bsr_lcg3_num, reports.bsr_lcg3_sum);
    return;
  }
  ++reports.bsr_lcg3_num;
  reports.bsr_lcg3_sum += buffer_sizes[index];
}

}  // namespace

void read_mac_header(packet_decoder& in, u8 hdr_len, unsigned count_tb, mac_reports& reports) {
  octets from(in, hdr_len);
  std::array<sub_header, max_sub_headers> sub_headers;
  unsigned num = 0;
  for (bool more = hdr_len > 0; more;) {
    if (!in.check_count(num + 1, max_sub_headers, "lcid_data_array")) return;
    const unsigned first = from.next();
    more = (first & another_follows) != 0;
    auto& header = sub_headers[num];
    header.lcid = static_cast<u8>(first & lcid_mask);
    const int size = element_sizes[header.lcid];
    if (size == unknown) {
      return in.print("not support lcid_data_array[%d] = %d", num, header.lcid);
    }
    ++num;
    const bool has_length = more && (size == data || size == as_sub_header);
    const unsigned length = has_length ? read_length(from, first) : 0;
    if (size == as_sub_header) header.element_bytes = length;
    if (size > 0) header.element_bytes = static_cast<unsigned>(size);
  }

  for (unsigned i = 0; i < num && in.ok(); ++i) {
    const auto [lcid, bytes] = sub_headers[i];
    from.skip(bytes);
    // All values that are needed are in the last octet of their element; group 3 is the last one in
    // a long report.
    const u8 octet = from.last();
    const auto index = static_cast<u8>(octet & 0x3F);
    if (lcid == power_headroom) reports.phr_ind = index;
    const bool is_short = lcid == short_bsr || lcid == truncated_bsr;
    if (lcid == long_bsr || (is_short && octet >> 6 == 3)) {
      add_buffer_status(in, count_tb, i, index, reports);
    }
  }
}

}  // namespace modem_stats::lte
