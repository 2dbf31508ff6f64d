// Log 0xB8A7, NR5G MAC CSF report: rank and channel quality of the packet's last CSI report.
// Layout: docs/formats/nr5g_mac_rrc.md.
#include "modem_stats/nr5g/mac_records.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_mac_rrc.h"

namespace modem_stats {
namespace {

struct report_layout {
  unsigned version;
  nr5g::mac_header header;
  nr5g::record_form form;
};
constexpr report_layout layouts[] = {
    {0x20001, nr5g::mac_header_2, {.num_entries = "num_csf_reports", .max_entries = 8, .head = 8}},
    {0x30005, nr5g::mac_header_3, {.num_entries = "num_csf_reports", .max_entries = 8, .head = 16}},
};

namespace at {
constexpr auto quantities = at_byte<u8>("quantities", 2);
constexpr bit_field<u8> metrics_ri{"metrics_ri", 67, 2};
constexpr bit_field<u8> metrics_cqi{"metrics_cqi", 69, 4};
constexpr bit_field<u8> bitwidth_ri{"bitwidth_ri", 451, 2};
constexpr bit_field<u8> bitwidth_cqi{"bitwidth_cqi", 458, 3};
}  // namespace at

constexpr unsigned report_size = 60;
constexpr unsigned max_records = 8;
constexpr u8 ssb_index_and_rsrp = 0x60;  // reports with these bits have a different form
constexpr u8 not_reported = 255;

struct csi_report {
  u8 ri = not_reported;
  u8 cqi = not_reported;
  u8 width_of_ri = not_reported;
  u8 width_of_cqi = not_reported;
};

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b8a7_diag_log_nr5g_mac_csf_report(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  const auto& layout = in.layout_for(version, layouts);
  const auto num_records = in.bits(layout.header.num_records);
  if (!in.check_count(num_records, max_records, "num_records")) return;
  csi_report last;
  nr5g::read_records(in, layout.header.records, num_records, layout.form, [&] {
    if ((in.bits(at::quantities) & ssb_index_and_rsrp) == 0) {
      last = {.ri = in.bits(at::metrics_ri),
              .cqi = in.bits(at::metrics_cqi),
              .width_of_ri = in.bits(at::bitwidth_ri),
              .width_of_cqi = in.bits(at::bitwidth_cqi)};
    }
    return report_size;
  });
  in.print(
      "version = %d, num_records = %d, metrics_ri = %d, metrics_cqi = %d, bitwidth_ri = %d, "
      "bitwidth_cqi = %d",
      version, num_records, last.ri, last.cqi, last.width_of_ri, last.width_of_cqi);
  in.check_valid(last.ri != not_reported, last.ri);
  in.publish(nr5g_mac_csf_report_record, "version"_f = version, "metrics_ri"_f = last.ri,
             "metrics_cqi"_f = last.cqi, "bitwidth_ri"_f = last.width_of_ri,
             "bitwidth_cqi"_f = last.width_of_cqi);
}
