// Log 0xB8D2, NR5G LL1 firmware transmit power: the last power, path loss and limit of each
// channel. House layout: positions are our own. Layout: docs/formats/nr5g_ml1_ll1.md.
#include <array>

#include "modem_stats/nr5g/ll1_chunk.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"

namespace modem_stats {
namespace {

// Of the power chunk.
namespace at {
constexpr bit_field<u8> version_power{"version_power", 32, 4};
constexpr bit_field<u8> loop_num{"loop_num", 84, 4};
constexpr unsigned infos = 12;  // byte
constexpr unsigned info_stride = 16;
}  // namespace at

namespace at_info {
constexpr bit_field<u8> channel_type{"channel_type", 4, 4};
constexpr auto tx = at_byte<i16>("tx_power", 2);
constexpr auto path_loss = at_byte<i16>("path_loss", 4);
constexpr auto mtpl = at_byte<i16>("mtpl", 6);
}  // namespace at_info

constexpr unsigned max_infos = 8;

struct power {
  i16 tx = INT16_MAX;  // the channel did not transmit
  i16 path_loss = INT16_MAX;
  i16 mtpl = INT16_MAX;
};
enum channel : std::uint8_t { pusch, pucch, srs, prach, channels };

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b8d2_diag_log_nr5g_ll1_fw_mac_tx_iu_power(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  in.check_version(version, {0x20000, 0x30000});
  in.block_at(ll1_chunk::first_inner);
  const auto code = in.bits(ll1_chunk::code);
  const bool empty = code == ll1_chunk::discard || code == ll1_chunk::pad;
  const u8 version_power = empty ? u8{0} : in.bits(at::version_power);
  const u8 loop_num = empty ? u8{0} : in.bits(at::loop_num);
  if (loop_num == 0) return in.print("version = %d, tx info not required, do nothing", version);
  if (!in.check_count(loop_num, max_infos, "loop_num")) return;

  std::array<power, channels> last;
  for (unsigned i = 0; i < loop_num; ++i) {
    in.block_at(ll1_chunk::first_inner + at::infos + i * at::info_stride);
    const auto type = in.bits(at_info::channel_type);
    if (type >= channels) continue;
    last[type] = {in.bits(at_info::tx), in.bits(at_info::path_loss), in.bits(at_info::mtpl)};
  }

  in.print(
      "version = %d, version_power = %d, loop_num = %d, pusch_tx = %d, pusch_path_loss = %d, "
      "pusch_mtpl = %d",
      version, version_power, loop_num, last[pusch].tx, last[pusch].path_loss, last[pusch].mtpl);
  in.print(
      "pucch_tx = %d, pucch_path_loss = %d, pucch_mtpl = %d, srs_tx = %d, srs_path_loss = %d, "
      "srs_mtpl = %d",
      last[pucch].tx, last[pucch].path_loss, last[pucch].mtpl, last[srs].tx, last[srs].path_loss,
      last[srs].mtpl);
  in.print("prach_tx = %d, prach_path_loss = %d, prach_mtpl = %d", last[prach].tx,
           last[prach].path_loss, last[prach].mtpl);
  in.publish(nr5g_ll1_fw_mac_tx_iu_power_record, "version"_f = version,
             "version_power"_f = version_power, "loop_num"_f = loop_num,
             "pusch_tx"_f = last[pusch].tx, "pusch_path_loss"_f = last[pusch].path_loss,
             "pusch_mtpl"_f = last[pusch].mtpl, "pucch_tx"_f = last[pucch].tx,
             "pucch_path_loss"_f = last[pucch].path_loss, "pucch_mtpl"_f = last[pucch].mtpl,
             "srs_tx"_f = last[srs].tx, "srs_path_loss"_f = last[srs].path_loss,
             "srs_mtpl"_f = last[srs].mtpl, "prach_tx"_f = last[prach].tx,
             "prach_path_loss"_f = last[prach].path_loss, "prach_mtpl"_f = last[prach].mtpl);
}
