// Log 0xB872, NR5G L2 uplink transport blocks: how much data is queued in the phone, according to
// the buffer status reports of all blocks. Layout: docs/formats/nr5g_mac_rrc.md.
#include <algorithm>
#include <array>
#include <limits>

#include "modem_stats/mac/uplink_control_elements.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_mac_rrc.h"

namespace modem_stats {
namespace {

struct sample_layout {
  unsigned version;
  bit_field<u8> num_tti;
  bit_field<u8> is_type2_other_cell;
  bit_field<u8> mce_length;  // of a transport block
  unsigned block;            // bytes of a transport block without its control elements
};
constexpr sample_layout layouts[] = {
    {0x00004, {"num_tti", 32, 4}, {"is_type2_other_cell", 37, 1}, {"mce_length", 128, 6}, 20},
    {0x20001, {"num_tti", 32, 8}, absent<u8>, {"mce_length", 128, 6}, 20},
    {0x30008, {"num_tti", 32, 8}, absent<u8>, {"mce_length", 160, 6}, 24},
};

namespace at {
constexpr unsigned first_tti = 8;              // byte
constexpr auto slot = at_byte<u8>("slot", 0);  // of a TTI
constexpr bit_field<u16> fn{"fn", 16, 10};
constexpr bit_field<u8> num_tb{"num_tb", 32, 4};
}  // namespace at

constexpr unsigned tti_head = 8;
constexpr unsigned max_ttis = 20;
constexpr unsigned max_blocks = 15;
constexpr unsigned max_mce_length = 63;

/// Walks the block that begins at `byte` and returns where the next one begins.
unsigned read_block(packet_decoder& in, const sample_layout& layout, unsigned byte,
                    bool has_other_cell, mac::buffer_sizes& sizes) {
  in.block_at(byte);
  const auto mce_length = in.bits(layout.mce_length);
  std::array<u8, max_mce_length> elements;
  for (unsigned i = 0; i < mce_length; ++i) {
    elements[i] = in.bits(at_byte<u8>("mce", layout.block + i));
  }
  mac::walk_uplink_control_elements(in, std::span(elements).first(mce_length), has_other_cell,
                                    sizes);
  return byte + layout.block + mce_length;
}

u16 at_most_65535(u32 value) {
  return static_cast<u16>(std::min<u32>(value, std::numeric_limits<u16>::max()));
}

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b872_diag_log_nr5g_l2_ul_tb(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  const auto& layout = in.layout_for(version, layouts);
  const auto num_tti = in.bits(layout.num_tti);
  const bool has_other_cell = in.bits_or(layout.is_type2_other_cell, u8{0}) != 0;
  if (!in.check_count(num_tti, max_ttis, "num_tti")) return;
  in.print("NR5G FSSR: num_tti = %d, is_type2_other_cell = %d", num_tti, has_other_cell);
  mac::buffer_sizes sizes;
  unsigned byte = at::first_tti;
  for (unsigned tti = 0; tti < num_tti; ++tti) {
    in.block_at(byte);
    const auto slot = in.bits(at::slot);
    const auto fn = in.bits(at::fn);
    const auto num_tb = in.bits(at::num_tb);
    if (!in.check_count(num_tb, max_blocks, "num_tb")) return;
    in.print("------ S-TTI: tti = %d, slot = %d, fn = %d, num_tb = %d", tti, slot, fn, num_tb);
    byte += tti_head;
    for (unsigned block = 0; block < num_tb; ++block) {
      byte = read_block(in, layout, byte, has_other_cell, sizes);
      in.print("------ TB-End: tb = %d", block);
    }
    in.print("------ TTI: tti = %d", tti);
  }
  const u32 bsr_idx = sizes.count == 0 ? 0 : sizes.sum / sizes.count;
  in.print("version = %d, bsr_idx = %d, bsr_idx_num = %d, bsr_idx_sum = %d", version, bsr_idx,
           sizes.count, sizes.sum);
  in.check_valid(sizes.count > 0, sizes.count);
  in.publish(nr5g_l2_ul_tb_record, "version"_f = version, "bsr_idx"_f = at_most_65535(bsr_idx),
             "bsr_idx_num"_f = at_most_65535(sizes.count),
             "bsr_idx_sum"_f = at_most_65535(sizes.sum));
}
