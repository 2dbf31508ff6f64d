// Log 0xB888, NR5G MAC PDSCH statistics: transport blocks and bytes received so far.
// Layout: docs/formats/nr5g_mac_rrc.md.
#include "modem_stats/nr5g/mac_records.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_mac_rrc.h"

namespace modem_stats {
namespace {

struct stats_layout {
  unsigned version;
  bit_field<u8> num_records;
  unsigned records;  // byte
};
constexpr unsigned more_header = 12;  // bytes after the header that the MAC logs share
constexpr stats_layout layouts[] = {
    {0x20002, nr5g::mac_header_2.num_records, nr5g::mac_header_2.records + more_header},
    {0x30000, nr5g::mac_header_3.num_records, nr5g::mac_header_3.records + more_header},
    {0x30001, nr5g::mac_header_3.num_records, nr5g::mac_header_3.records + more_header},
};

namespace at {
constexpr auto num_pdcp_decode = at_byte<u32>("num_pdcp_decode", 8);
constexpr auto num_crc_fail = at_byte<u32>("num_crc_fail", 16);
constexpr auto tb_bytes = at_byte<u64>("tb_bytes", 48);
}  // namespace at

constexpr unsigned record_size = 72;
constexpr unsigned max_records = 8;

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b888_diag_log_nr5g_mac_pdsch_stats(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  const auto& layout = in.layout_for(version, layouts);
  const auto num_records = in.bits(layout.num_records);
  if (!in.check_count(num_records, max_records, "num_records")) return;
  u32 num_pdcp_decode = 0;
  u32 num_crc_fail = 0;
  u64 tb_bytes = 0;
  for (unsigned i = 0; i < num_records; ++i) {
    in.block_at(layout.records + record_size * i);
    num_pdcp_decode += in.bits(at::num_pdcp_decode);
    num_crc_fail += in.bits(at::num_crc_fail);
    tb_bytes += in.bits(at::tb_bytes);
  }
  in.print(
      "version = %d, num_records = %d, num_pdcp_decode = %d, num_crc_fail = %d, tb_bytes = %lu",
      version, num_records, num_pdcp_decode, num_crc_fail, tb_bytes);
  in.check_valid(num_records > 0, num_records);
  in.publish(nr5g_mac_pdsch_stats_record, "version"_f = version,
             "num_pdcp_decode"_f = num_pdcp_decode, "num_crc_fail"_f = num_crc_fail,
             "tb_bytes"_f = static_cast<u32>(tb_bytes));
}
