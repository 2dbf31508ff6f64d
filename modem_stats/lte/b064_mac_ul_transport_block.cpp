// Log 0xB064, LTE MAC UL transport block: one record with the power headroom and buffer status that
// the packet's transport blocks report. Layout: docs/formats/lte.md.
#include "modem_stats/lte/mac_header.h"
#include "modem_stats/lte/sub_packets.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/lte.h"

namespace modem_stats {
namespace {

namespace at {
constexpr auto num_samples = at_byte<u8>("num_samples", 4);
constexpr unsigned samples = 5;
}  // namespace at

struct sample_layout {
  unsigned version;
  unsigned mac_header;  // byte
  bit_field<u16> grant;
  bit_field<u8> hdr_len;
};

constexpr sample_layout without_carrier(unsigned version) {
  return {version, 12, at_byte<u16>("grant", 4), at_byte<u8>("hdr_len", 11)};
}
constexpr sample_layout with_carrier(unsigned version) {
  return {version, 14, at_byte<u16>("grant", 6), at_byte<u8>("hdr_len", 13)};
}

constexpr sample_layout layouts[] = {
    without_carrier(1), with_carrier(2), with_carrier(3), with_carrier(5), with_carrier(8),
};

constexpr u8 ul_transport_block = 8;  // sub-packet id
constexpr unsigned max_samples = 25;

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b064_diag_log_lte_mac_ul_transport_block(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  in.check_version(version, {1});
  lte::mac_reports reports;
  unsigned count_tb = 0;
  const auto decode = [&](unsigned sub_packet, u8 version_sub) {
    const auto& layout = in.layout_for(version_sub, layouts, "lte_mac_ul_transport_block");
    const auto num_samples = in.bits(at::num_samples);
    in.print("LTE FSSR: version_sub = %d, num_samples = %d", version_sub, num_samples);
    if (!in.check_count(num_samples, max_samples, "num_samples")) return;
    unsigned byte = sub_packet + at::samples;
    for (unsigned i = 0; i < num_samples && in.ok(); ++i) {
      in.block_at(byte);
      const auto grant = in.bits(layout.grant);
      const auto hdr_len = in.bits(layout.hdr_len);
      in.print("------ count_tb = %d, grant = %d, hdr_len = %d", count_tb, grant, hdr_len);
      byte += layout.mac_header;
      in.block_at(byte);
      lte::read_mac_header(in, hdr_len, count_tb, reports);
      byte += hdr_len;
      ++count_tb;
    }
  };
  const auto num_subpkt = lte::for_each_sub_packet(in, ul_transport_block, "sub_packet_id", decode);

  const u32 average = reports.bsr_lcg3_num == 0 ? 0 : reports.bsr_lcg3_sum / reports.bsr_lcg3_num;
  in.print("version = %d, phr_ind = %d, bsr_lcg3_avg = %d, bsr_lcg3_num = %d, bsr_lcg3_bytes = %d",
           version, reports.phr_ind, average, reports.bsr_lcg3_num, reports.bsr_lcg3_sum);
  in.check_valid(num_subpkt > 0, num_subpkt, "num_subpkt");
  in.publish(lte_mac_ul_transport_block_record, "version"_f = version,
             "phr_ind"_f = reports.phr_ind, "bsr_lcg3_avg"_f = average,
             "bsr_lcg3_num"_f = reports.bsr_lcg3_num, "bsr_lcg3_bytes"_f = reports.bsr_lcg3_sum);
}
