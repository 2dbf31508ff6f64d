// Log 0xB887, NR5G MAC PDSCH status: modulation and layers of the last transport block received.
// Layout: docs/formats/nr5g_mac_rrc.md.
#include <algorithm>

#include "modem_stats/nr5g/mac_records.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_mac_rrc.h"

namespace modem_stats {
namespace {

struct pdsch_layout {
  unsigned version;
  nr5g::mac_header header;
  unsigned entry;  // bytes
};
constexpr pdsch_layout layouts[] = {
    {0x20005, nr5g::mac_header_2, 20},
    {0x30003, nr5g::mac_header_3, 20},
    {0x3000D, nr5g::mac_header_3, 36},
};

namespace at {  // in an entry of every version
constexpr bit_field<u8> mcs{"mcs", 90, 5};
constexpr bit_field<u8> pdsch_rnti_type{"pdsch_rnti_type", 114, 4};
constexpr bit_field<u8> layers_minus_1{"num_layers", 125, 2};
constexpr bit_field<u8> mod_type{"mod_type", 144, 4};
constexpr bit_field<u8> num_rx{"num_rx", 150, 2};
}  // namespace at

constexpr unsigned max_records = 32;
constexpr nr5g::record_form form{.num_entries = "num_pdsch_status", .max_entries = 4, .head = 8};

constexpr u8 c_rnti = 0;
constexpr u8 two_receive_chains = 1;

struct pdsch_entry {
  u8 mcs, rnti_type, num_layers, mod_type, num_rx;
};

pdsch_entry read_entry(packet_decoder& in) {
  return {.mcs = in.bits(at::mcs),
          .rnti_type = in.bits(at::pdsch_rnti_type),
          .num_layers = static_cast<u8>(in.bits(at::layers_minus_1) + 1),
          .mod_type = in.bits(at::mod_type),
          .num_rx = in.bits(at::num_rx)};
}

/// What is recorded: the last entry, and the layers of all entries. Entries addressed to this phone
/// take precedence; only if there are none, the last of the other entries is used.
struct summary {
  pdsch_entry last{};
  bool any = false;
  bool any_own = false;
  u8 max_layers = 0;
  unsigned num_mimo = 0;

  void take(const pdsch_entry& entry) {
    const bool own = entry.rnti_type == c_rnti;
    if (any_own && !own) return;
    if (!any_own) max_layers = 0, num_mimo = 0;
    last = entry;
    any = true;
    any_own = own;
    max_layers = std::max(max_layers, entry.num_layers);
    num_mimo += entry.num_layers > 1 ? 1 : 0;
  }
};

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b887_diag_log_nr5g_mac_pdsch_status(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  const auto& layout = in.layout_for(version, layouts);
  const auto num_records = in.bits(layout.header.num_records);
  if (!in.check_count(num_records, max_records, "num_records")) return;
  summary all;
  const auto num_pdsch_status =
      nr5g::read_records(in, layout.header.records, num_records, form, [&] {
        all.take(read_entry(in));
        return layout.entry;
      });
  in.check_valid(all.any, num_records);
  in.print(
      "version = %d, num_records = %d, num_pdsch_status = %d, mod_type = %d, mcs = %d, "
      "pdsch_rnti_type = %d, num_layers = %d",
      version, num_records, num_pdsch_status, all.last.mod_type, all.last.mcs, all.last.rnti_type,
      all.last.num_layers);
  in.print("sub_id = %d, num_layers = %d, num_mimo = %d, mimo22_flag = %d", in.sub_id(),
           all.max_layers, all.num_mimo, all.last.num_rx == two_receive_chains);
  in.publish(nr5g_mac_pdsch_status_record, "version"_f = version, "mod_type"_f = all.last.mod_type,
             "mcs"_f = all.last.mcs, "num_layers"_f = all.last.num_layers);
}
