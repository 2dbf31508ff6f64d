// Log 0xB16D, LTE TX power: one record of all reports in the packet.
// Layout: docs/formats/lte.md; for version 48 the positions of power, resource blocks and
// ca_mode_enable are our own, those of version 8 are inferred.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/lte.h"

namespace modem_stats {
namespace {

namespace at {
constexpr auto num = at_byte<u8>("num", 3);
constexpr unsigned reports = 4;  // byte
// Relative to a report:
constexpr bit_field<u8> chan_type_of_8{"chan_type", 0, 1};
constexpr bit_field<u8> chan_type{"chan_type", 32, 1};
}  // namespace at

struct report_places {
  unsigned pucch_tx_power, pusch_tx_power;  // bits; the one of the channel that was sent
  bit_field<u8> num_res_blocks, mcs, modulation_type;
  unsigned stride;  // bytes
};

constexpr report_places of_8{.pucch_tx_power = 15,
                             .pusch_tx_power = 96,
                             .num_res_blocks = {"pusch_num_res_blocks", 118, 7},
                             .mcs = {"pusch_mcs", 161, 5},
                             .modulation_type = {"pusch_modulation_type", 116, 2},
                             .stride = 24};

constexpr report_places of_48{.pucch_tx_power = 64,
                              .pusch_tx_power = 64,
                              .num_res_blocks = {"pusch_num_res_blocks", 72, 7},
                              .mcs = {"pusch_mcs", 325, 5},
                              .modulation_type = {"pusch_modulation_type", 344, 4},
                              .stride = 52};

/// Version 49 starts with an acknowledgement mask of `mask` bytes.
constexpr report_places of_49(unsigned mask) {
  const unsigned power = 8 * (8 + mask) + 6;
  const unsigned channel = 8 * (10 + mask);
  return {.pucch_tx_power = power,
          .pusch_tx_power = power,
          .num_res_blocks = {"pusch_num_res_blocks", channel + 39, 7},
          .mcs = {"pusch_mcs", channel + 46, 5},
          .modulation_type = {"pusch_modulation_type", channel + 28, 3},
          .stride = 34 + mask};
}

struct report_layout {
  unsigned version;
  bit_field<u8> chan_type, ca_mode_enable;
  report_places places[2];  // indexed by ca_mode_enable
  origin from = origin::product;
};
constexpr report_layout layouts[] = {
    {48, at::chan_type, {"ca_mode_enable", 61, 1}, {of_48, of_48}},
    {49, at::chan_type, {"ca_mode_enable", 57, 1}, {of_49(2), of_49(14)}},
    {8, at::chan_type_of_8, absent<u8>, {of_8, of_8}, origin::inferred},
};

constexpr unsigned max_reports = 20;
constexpr u8 pusch = 1;  // channel
constexpr i8 not_sent = -128;

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b16d_diag_log_lte_tx_power(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  const auto& layout = in.layout_for(version, layouts);
  const auto num = in.bits(at::num);
  in.check_valid(num > 0, num, "num");
  if (!in.check_count(num, max_reports, "num")) return;
  in.add<lte_tx_power_head>("version"_f = version, "num"_f = num);
  unsigned byte = at::reports;
  for (unsigned i = 0; i < num; ++i) {
    in.block_at(byte);
    const auto chan_type = in.bits(layout.chan_type);
    const auto& places = layout.places[in.bits_or(layout.ca_mode_enable, u8{0})];
    const bool is_pusch = chan_type == pusch;
    const auto tx_power =
        in.bits(is_pusch ? bit_field<i8>{"pusch_tx_power", places.pusch_tx_power}
                         : bit_field<i8>{"pucch_tx_power", places.pucch_tx_power});
    i8 pucch_tx_power = not_sent;
    i8 pusch_tx_power = not_sent;
    u8 num_res_blocks = 0;
    u8 modulation_type = 0;
    u8 mcs = 0;
    if (is_pusch) {
      pusch_tx_power = tx_power;
      num_res_blocks = in.bits(places.num_res_blocks);
      mcs = in.bits(places.mcs);
      modulation_type = in.bits(places.modulation_type);
    } else {
      pucch_tx_power = tx_power;
    }
    in.print(
        "version = %d, num = %d, pucch_tx_power %d, pusch_num_res_blocks = %d, "
        "pusch_modulation_type = %d, pusch_tx_power = %d, pusch_mcs = %d",
        version, num, pucch_tx_power, num_res_blocks, modulation_type, pusch_tx_power, mcs);
    in.add<lte_tx_power_report>("pucch_tx_power"_f = pucch_tx_power,
                                "pusch_num_res_blocks"_f = num_res_blocks,
                                "pusch_modulation_type"_f = modulation_type,
                                "pusch_tx_power"_f = pusch_tx_power, "pusch_mcs"_f = mcs);
    byte += places.stride;
  }
  in.publish_added(lte_tx_power_record);
}
