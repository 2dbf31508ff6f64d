// Log 0xB825, NR5G RRC configuration info: carriers and radio bearers in use.
// Layout: docs/formats/nr5g_mac_rrc.md.
#include <array>

#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_mac_rrc.h"

namespace modem_stats {
namespace {

/// All counts come first, then the lists.
struct counts_layout {
  bit_field<u8> groups;
  bit_field<u8> nrdc_groups;
  bit_field<u8> carriers;
  bit_field<u8> nrdc_carriers;
  bit_field<u8> bearers;
  unsigned size;  // bytes
};
constexpr counts_layout three_counts{.groups = at_byte<u8>("num_contiguous_cc_groups", 0),
                                     .nrdc_groups = absent<u8>,
                                     .carriers = at_byte<u8>("num_active_cc", 1),
                                     .nrdc_carriers = absent<u8>,
                                     .bearers = at_byte<u8>("num_active_rb", 2),
                                     .size = 3};
constexpr counts_layout five_counts{
    .groups = at_byte<u8>("num_contiguous_cc_groups", 0),
    .nrdc_groups = at_byte<u8>("num_nrdc_scg_contiguous_cc_groups", 1),
    .carriers = at_byte<u8>("num_active_cc", 2),
    .nrdc_carriers = at_byte<u8>("num_nrdc_scg_active_cc", 3),
    .bearers = at_byte<u8>("num_active_rb", 4),
    .size = 5};

struct configuration_layout {
  unsigned version;
  unsigned state;           // byte
  unsigned counts;          // byte
  unsigned carrier_stride;  // bytes
  unsigned band;            // byte of a carrier; the rest of it follows
  unsigned ul_rohc;         // byte of a bearer
  const counts_layout& count;
};
constexpr configuration_layout layouts[] = {
    {0x00008, 4, 58, 18, 11, 9, three_counts},  {0x0000A, 4, 58, 22, 15, 9, three_counts},
    {0x20000, 4, 58, 22, 15, 9, three_counts},  {0x30003, 12, 66, 23, 15, 9, five_counts},
    {0x30004, 12, 67, 23, 15, 10, five_counts}, {0x30006, 12, 67, 25, 15, 10, five_counts},
};

namespace at {
constexpr auto rrc_state = at_byte<u8>("rrc_state", 0);
constexpr auto conn_mode = at_byte<u8>("conn_mode", 2);
}  // namespace at

constexpr unsigned group_stride = 4;
constexpr unsigned bearer_stride = 18;
constexpr unsigned max_groups = 8;
constexpr unsigned max_carriers = 16;
constexpr unsigned max_bearers = 32;

struct carrier {
  u16 pci;
  u32 arfcn_dl, arfcn_ul;
  u16 band;
  u8 band_type, bw_dl, bw_ul;
};

struct bearer {
  u8 dl_type, dl_path, dl_rohc, ul_type, ul_path, ul_rohc;
};

carrier read_carrier(packet_decoder& in, unsigned band) {
  return {.pci = in.bits(at_byte<u16>("pci", 1)),
          .arfcn_dl = in.bits(at_byte<u32>("arfcn_dl", 3)),
          .arfcn_ul = in.bits(at_byte<u32>("arfcn_ul", 7)),
          .band = in.bits(at_byte<u16>("band", band)),
          .band_type = in.bits(at_byte<u8>("band_type", band + 2)),
          .bw_dl = in.bits(at_byte<u8>("bw_dl", band + 3)),
          .bw_ul = in.bits(at_byte<u8>("bw_ul", band + 4))};
}

bearer read_bearer(packet_decoder& in, unsigned ul_rohc) {
  return {.dl_type = in.bits(at_byte<u8>("dl_rb_type", 2)),
          .dl_path = in.bits(at_byte<u8>("dl_rb_path", 3)),
          .dl_rohc = in.bits(at_byte<u8>("dl_rohc_enable", 4)),
          .ul_type = in.bits(at_byte<u8>("ul_rb_type", 7)),
          .ul_path = in.bits(at_byte<u8>("ul_rb_path", 8)),
          .ul_rohc = in.bits(at_byte<u8>("ul_rohc_enable", ul_rohc))};
}

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b825_diag_log_nr5g_rrc_configuration_info(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  const auto& layout = in.layout_for(version, layouts);
  in.block_at(layout.state);
  const auto rrc_state = in.bits(at::rrc_state);
  const auto conn_mode = in.bits(at::conn_mode);
  in.block_at(layout.counts);
  const auto num_groups = in.bits(layout.count.groups);
  const auto num_nrdc_groups = in.bits_or(layout.count.nrdc_groups, u8{0});
  const auto num_carriers = in.bits(layout.count.carriers);
  const auto num_nrdc_carriers = in.bits_or(layout.count.nrdc_carriers, u8{0});
  const auto num_bearers = in.bits(layout.count.bearers);
  in.check_count(num_groups, max_groups, "num_contiguous_cc_groups");
  in.check_count(num_nrdc_groups, max_groups, "num_nrdc_scg_contiguous_cc_groups");
  in.check_count(num_carriers, max_carriers, "num_active_cc");
  in.check_count(num_nrdc_carriers, max_carriers, "num_nrdc_scg_active_cc");
  if (!in.check_count(num_bearers, max_bearers, "num_active_rb")) return;

  std::array<carrier, std::size_t{2} * max_carriers> carriers{};
  std::array<bearer, max_bearers> bearers{};
  const unsigned all_carriers = num_carriers + num_nrdc_carriers;
  const unsigned lists = layout.counts + layout.count.size;
  unsigned byte = lists + group_stride * (num_groups + num_nrdc_groups);
  for (unsigned i = 0; i < all_carriers; ++i, byte += layout.carrier_stride) {
    in.block_at(byte);
    carriers[i] = read_carrier(in, layout.band);
  }
  for (unsigned i = 0; i < num_bearers; ++i, byte += bearer_stride) {
    in.block_at(byte);
    bearers[i] = read_bearer(in, layout.ul_rohc);
  }

  in.print(
      "version = %d, num_contiguous_cc_groups = %d, num_nrdc_scg_contiguous_cc_groups = %d, "
      "num_active_cc = %d, num_nrdc_scg_active_cc = %d, num_active_rb = %d",
      version, num_groups, num_nrdc_groups, num_carriers, num_nrdc_carriers, num_bearers);
  in.add<nr5g_rrc_configuration_head>(
      "version"_f = version, "num_contiguous_cc_groups"_f = num_groups,
      "num_nrdc_scg_contiguous_cc_groups"_f = num_nrdc_groups, "num_active_cc"_f = num_carriers,
      "num_nrdc_scg_active_cc"_f = num_nrdc_carriers, "num_active_rb"_f = num_bearers);
  for (const auto& one : std::span(carriers).first(all_carriers)) {
    in.print(
        "pci = %d, arfcn_dl = %d, arfcn_ul = %d, band = %d, band_type = %d, bw_dl = %d, "
        "bw_ul = %d",
        one.pci, one.arfcn_dl, one.arfcn_ul, one.band, one.band_type, one.bw_dl, one.bw_ul);
    in.add<nr5g_rrc_configuration_carrier>("pci"_f = one.pci, "arfcn_dl"_f = one.arfcn_dl,
                                           "arfcn_ul"_f = one.arfcn_ul, "band"_f = one.band,
                                           "band_type"_f = one.band_type, "bw_dl"_f = one.bw_dl,
                                           "bw_ul"_f = one.bw_ul);
  }
  for (const auto& one : std::span(bearers).first(num_bearers)) {
    in.print(
        "dl_rb_type = %d, dl_rb_path = %d, dl_rohc_enable = %d, ul_rb_type = %d, "
        "ul_rb_path = %d, ul_rohc_enable = %d",
        one.dl_type, one.dl_path, one.dl_rohc, one.ul_type, one.ul_path, one.ul_rohc);
    in.add<nr5g_rrc_configuration_bearer>(
        "dl_rb_type"_f = one.dl_type, "dl_rb_path"_f = one.dl_path,
        "dl_rohc_enable"_f = one.dl_rohc, "ul_rb_type"_f = one.ul_type,
        "ul_rb_path"_f = one.ul_path, "ul_rohc_enable"_f = one.ul_rohc);
  }
  in.print("rrc_state = %d, conn_mode = %d", rrc_state, conn_mode);
  in.add<nr5g_rrc_configuration_tail>("rrc_state"_f = rrc_state, "conn_mode"_f = conn_mode);
  in.publish_added(nr5g_rrc_configuration_record);
}
