// Log 0xB885, NR5G MAC DCI info: the last downlink and the last uplink assignment of a packet.
// Layout: docs/formats/nr5g_mac_rrc.md.
#include "modem_stats/nr5g/mac_records.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_mac_rrc.h"

namespace modem_stats {
namespace {

struct dci_layout {
  unsigned version;
  nr5g::mac_header header;
  bool grouped;       // entries are grouped by kind instead of being in records
  unsigned downlink;  // bytes of an entry
  unsigned uplink;
  bit_field<u8> mcs_dl;
  bit_field<u8> mcs_ul;
  bit_field<u32> rb_assi_num;
};
constexpr bit_field<u8> mcs_dl_of_2{"mcs_dl", 38, 5};
constexpr bit_field<u8> mcs_ul_of_2{"mcs_ul", 135, 5};
constexpr bit_field<u32> rb_assi_num_of_2{"rb_assi_num", 160, 16};
constexpr dci_layout layouts[] = {
    {0x20005, nr5g::mac_header_2, false, 12, 32, mcs_dl_of_2, mcs_ul_of_2, rb_assi_num_of_2},
    {0x2000C, nr5g::mac_header_2, false, 16, 32, mcs_dl_of_2, mcs_ul_of_2, rb_assi_num_of_2},
    {0x30009,
     nr5g::mac_header_3,
     true,
     32,
     40,  //
     {"mcs_dl", 160, 5},
     {"mcs_ul", 200, 5},
     {"rb_assi_num", 224, 19}},
};

namespace at {
constexpr bit_field<u8> dci_format{"dci_format", 7, 2};  // of an entry in a record
constexpr auto num_ul = at_byte<u8>("num_ul", 8);        // of a packet with groups
constexpr auto num_dl = at_byte<u8>("num_dl", 9);
constexpr auto num_dl_common = at_byte<u8>("num_dl_common", 10);
constexpr unsigned groups = 16;  // byte
}  // namespace at

constexpr unsigned max_records = 32;
constexpr u8 first_downlink_format = 2;  // 1_0; formats 0 and 1 are the uplink's 0_0 and 0_1
constexpr u16 no_mcs = 255;

struct assignments {
  u16 mcs_dl = no_mcs;
  u16 mcs_ul = no_mcs;
  u32 rb_assi_num = 0;
};

void read_uplink(packet_decoder& in, const dci_layout& layout, assignments& last) {
  last.mcs_ul = in.bits(layout.mcs_ul);
  last.rb_assi_num = in.bits(layout.rb_assi_num);
}

void read_downlink(packet_decoder& in, const dci_layout& layout, assignments& last) {
  last.mcs_dl = in.bits(layout.mcs_dl);
}

void read_records(packet_decoder& in, const dci_layout& layout, u8 num_records, assignments& last) {
  if (!in.check_count(num_records, max_records, "num_records")) return;
  constexpr nr5g::record_form form{.num_entries = "num_dci", .max_entries = 10, .head = 8};
  nr5g::read_records(in, layout.header.records, num_records, form, [&] {
    if (in.bits(at::dci_format) >= first_downlink_format) {
      read_downlink(in, layout, last);
      return layout.downlink;
    }
    read_uplink(in, layout, last);
    return layout.uplink;
  });
}

/// Uplink, downlink, then downlink assignments to all phones, whose fields are unknown.
void read_groups(packet_decoder& in, const dci_layout& layout, assignments& last) {
  const auto num_ul = in.bits(at::num_ul);
  const auto num_dl = in.bits(at::num_dl);
  for (const unsigned count : {num_ul, num_dl, in.bits(at::num_dl_common)}) {
    in.check_count(count, max_records, "num_records");
  }
  if (!in.ok()) return;
  // Only the last entry of a group is recorded.
  if (num_ul > 0) {
    in.block_at(at::groups + layout.uplink * (num_ul - 1U));
    read_uplink(in, layout, last);
  }
  if (num_dl > 0) {
    in.block_at(at::groups + layout.uplink * num_ul + layout.downlink * (num_dl - 1U));
    read_downlink(in, layout, last);
  }
}

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b885_diag_log_nr5g_mac_dci_info(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  const auto& layout = in.layout_for(version, layouts);
  const auto num_records = in.bits(layout.header.num_records);
  assignments last;
  if (layout.grouped) {
    read_groups(in, layout, last);
  } else {
    read_records(in, layout, num_records, last);
  }
  in.print("version = %d, num_records = %d, mcs_dl = %d, mcs_ul = %d, rb_assi_num = %d", version,
           num_records, last.mcs_dl, last.mcs_ul, last.rb_assi_num);
  in.check_valid(last.mcs_dl != no_mcs || last.mcs_ul != no_mcs, no_mcs);
  in.publish(nr5g_mac_dci_record, "version"_f = version, "mcs_dl"_f = last.mcs_dl,
             "mcs_ul"_f = last.mcs_ul, "rb_assi_num"_f = last.rb_assi_num);
}
