// Log 0xB173, LTE PDSCH stat indication: one record with the totals of the received blocks and the
// details of the last one. Layout: docs/formats/lte.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/lte.h"

namespace modem_stats {
namespace {

namespace at {
constexpr auto num_records = at_byte<u8>("num_records", 1);
constexpr unsigned records = 4;  // byte
// Relative to a record:
constexpr auto num_layers = at_byte<u8>("num_layers", 3);
constexpr auto num_tb = at_byte<u8>("num_tb", 4);
// Relative to a transport block:
constexpr bit_field<u8> crc_result{"crc_result", 7, 1};
constexpr bit_field<u8> rnti_type{"pdsch_rnti_type", 8, 4};
}  // namespace at

/// A record always has space for two transport blocks.
struct record_places {
  unsigned first_block, block_stride, stride;  // bytes
  bit_field<u16> tb_size;
  bit_field<u8> mcs, rb, mod_type;
};

constexpr record_places by_blocks_of_6{6,
                                       6,
                                       20,
                                       at_byte<u16>("tb_size", 2),
                                       at_byte<u8>("pdsch_mcs", 4),
                                       at_byte<u8>("pdsch_rb", 5),
                                       absent<u8>};
constexpr record_places by_blocks_of_8{6,
                                       8,
                                       24,
                                       at_byte<u16>("tb_size", 2),
                                       at_byte<u8>("pdsch_mcs", 4),
                                       at_byte<u8>("pdsch_rb", 5),
                                       at_byte<u8>("pdsch_mod_type", 6)};
constexpr record_places by_blocks_of_12{12,
                                        12,
                                        40,
                                        at_byte<u16>("tb_size", 4),
                                        at_byte<u8>("pdsch_mcs", 6),
                                        at_byte<u8>("pdsch_rb", 7),
                                        at_byte<u8>("pdsch_mod_type", 8)};

struct record_layout {
  unsigned version;
  const record_places& places;
};
constexpr record_layout layouts[] = {
    {5, by_blocks_of_6},   {16, by_blocks_of_6},  {24, by_blocks_of_8},
    {32, by_blocks_of_8},  {34, by_blocks_of_8},  {36, by_blocks_of_12},
    {37, by_blocks_of_12}, {40, by_blocks_of_12}, {48, by_blocks_of_12},
};

constexpr unsigned max_records = 25;
constexpr unsigned max_blocks = 2;
constexpr u8 c_rnti = 0;

/// Bits per symbol (3GPP TS 36.213, table 7.1.7.1-1), in the encoding of versions that log the
/// modulation itself.
constexpr u8 modulation_of(u8 mcs) {
  if (mcs <= 9 || mcs == 29) return 2;
  if (mcs <= 16 || mcs == 30) return 4;
  return 6;
}

struct block {
  u8 crc_result, rnti_type, mcs, rb, mod_type;
  u16 size;
};

block read_block(packet_decoder& in, const record_places& places) {
  const auto mcs = in.bits(places.mcs);
  return {.crc_result = in.bits(at::crc_result),
          .rnti_type = in.bits(at::rnti_type),
          .mcs = mcs,
          .rb = in.bits(places.rb),
          .mod_type = in.bits_or(places.mod_type, modulation_of(mcs)),
          .size = in.bits(places.tb_size)};
}

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b173_diag_log_lte_pdsch_stat_indication(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  const auto& places = in.layout_for(version, layouts).places;
  const auto num_records = in.bits(at::num_records);
  if (!in.check_count(num_records, max_records, "num_records")) return;
  block last{};
  u8 num_layers = 0;
  u8 num_layers_crnti = 0;
  u32 tb_bytes = 0;
  u64 tb_bytes_crnti = 0;
  for (unsigned i = 0; i < num_records; ++i) {
    const unsigned record = at::records + i * places.stride;
    in.block_at(record);
    const auto layers = in.bits(at::num_layers);
    const auto num_tb = in.bits(at::num_tb);
    if (!in.check_count(num_tb, max_blocks, "num_tb")) return;
    for (unsigned j = 0; j < num_tb; ++j) {
      in.block_at(record + places.first_block + j * places.block_stride);
      last = read_block(in, places);
      num_layers = layers;
      tb_bytes += last.size;
      if (last.rnti_type == c_rnti) {
        num_layers_crnti = layers;
        tb_bytes_crnti += last.size;
      }
    }
  }
  in.print(
      "version = %d, num_records = %d, pdsch_mcs = %d, pdsch_rb = %d, pdsch_mod_type = %d, "
      "pdsch_rnti_type = %d, num_layers = %d",
      version, num_records, last.mcs, last.rb, last.mod_type, last.rnti_type, num_layers);
  in.print("tb_bytes = %d, num_layers_crnti %d, tb_bytes_crnti %lu, crc_result %d", tb_bytes,
           num_layers_crnti, tb_bytes_crnti, last.crc_result);
  in.check_valid(num_records > 0, num_records, "num_records");
  in.publish(lte_pdsch_stat_record, "version"_f = version, "num_records"_f = num_records,
             "pdsch_mcs"_f = last.mcs, "pdsch_rb"_f = last.rb, "pdsch_mod_type"_f = last.mod_type,
             "pdsch_rnti_type"_f = last.rnti_type, "num_layers"_f = num_layers,
             "tb_bytes"_f = tb_bytes, "num_layers_crnti"_f = num_layers_crnti,
             "tb_bytes_crnti"_f = tb_bytes_crnti, "crc_result"_f = last.crc_result);
}
