// Log 0xB884, NR5G MAC uplink physical channel power control: the last transmit power of every
// kind of channel. House layout, of which only the header, the time of a slot and the sizes of
// records are known: docs/formats/nr5g_mac_rrc.md.
#include <algorithm>
#include <array>

#include "modem_stats/nr5g/mac_records.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_mac_rrc.h"

namespace modem_stats {
namespace {

namespace at {
constexpr bit_field<u8> num_carriers{"num_carriers", 32, 4};  // of a record
constexpr bit_field<u8> num_channels{"num_channels", 40, 4};
constexpr bit_field<u8> channel_type{"channel_type", 4, 4};  // of a channel
constexpr auto tx_power = at_byte<i16>("tx_power", 2);
}  // namespace at

constexpr unsigned record_head = 8;
constexpr unsigned record_unit = 32;  // records are padded to a multiple of it
constexpr unsigned channel_size = 24;
constexpr unsigned max_records = 16;
constexpr unsigned max_channels = 8;

constexpr i16 no_power = 32767;
enum channel : u8 { pusch, pucch, srs, prach, num_kinds };

constexpr unsigned record_size(unsigned num_channels) {
  const unsigned used = record_head + channel_size * num_channels;
  return (used + record_unit - 1) / record_unit * record_unit;
}

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b884_diag_log_nr5g_mac_ul_phy_ch_power_ctrl(
    modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  in.check_version(version, {0x30003, 0x30005});
  const auto num_records = in.bits(nr5g::mac_header_3.num_records);
  if (!in.check_count(num_records, max_records, "num_records")) return;

  u8 num_carriers = 0;
  std::array<i16, num_kinds> power{no_power, no_power, no_power, no_power};
  unsigned record = nr5g::mac_header_3.records;
  for (unsigned i = 0; i < num_records; ++i) {
    in.block_at(record);
    num_carriers = in.bits(at::num_carriers);
    const auto num_channels = in.bits(at::num_channels);
    if (!in.check_count(num_channels, max_channels, "num_channels")) return;
    for (unsigned k = 0; k < num_channels; ++k) {
      in.block_at(record + record_head + channel_size * k);
      const auto type = in.bits(at::channel_type);
      const auto tx_power = in.bits(at::tx_power);
      if (type < num_kinds) power[type] = tx_power;
    }
    record += record_size(num_channels);
  }

  in.print(
      "version = %d, num_records = %d, num_carriers = %d, tx_power_pusch = %d, "
      "tx_power_pucch = %d, tx_power_srs = %d, tx_power_prach = %d",
      version, num_records, num_carriers, power[pusch], power[pucch], power[srs], power[prach]);
  in.check_valid(std::ranges::any_of(power, [](i16 one) { return one != no_power; }), no_power);
  in.publish(nr5g_mac_ul_power_record, "version"_f = version, "num_carriers"_f = num_carriers,
             "tx_power_pusch"_f = power[pusch], "tx_power_pucch"_f = power[pucch],
             "tx_power_srs"_f = power[srs], "tx_power_prach"_f = power[prach]);
}
