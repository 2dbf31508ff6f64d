// Log 0xB8C9, NR5G LL1 firmware receive AGC: in-band level of up to four receive chains, of the
// packet's first chunk, if that is an AGC record. The position of the level is our own.
// Layout: docs/formats/nr5g_ml1_ll1.md.
#include "modem_stats/conversions.h"
#include "modem_stats/nr5g/ll1_chunk.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"

namespace modem_stats {
namespace {

constexpr u8 agc_record = 4;  // chunk code

// Bytes of an AGC record.
constexpr unsigned head = 16;
constexpr unsigned element = 32;

constexpr unsigned chains = 4;

namespace at {
constexpr bit_field<u8> version_agc_sub{"version_agc_sub", 32, 4};
constexpr bit_field<u16> rssi[chains] = {{"rssi0_i", 8 * head + 16, 13},
                                         {"rssi1_i", 8 * (head + element) + 16, 13},
                                         {"rssi2_i", 8 * (head + 2 * element) + 16, 13},
                                         {"rssi3_i", 8 * (head + 3 * element) + 16, 13}};
}  // namespace at

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b8c9_diag_log_nr5g_ll1_fw_rx_control_agc(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  in.check_version(version, {0x20000, 0x30000, 0x30001});
  in.block_at(ll1_chunk::first);
  u8 code = in.bits(ll1_chunk::code);
  if (code == ll1_chunk::container) {
    in.block_at(ll1_chunk::first_inner);
    code = in.bits(ll1_chunk::code);
  }
  const auto length = in.bits(ll1_chunk::length);
  const auto version_agc_sub = in.bits(at::version_agc_sub);
  if (code != agc_record) {
    return in.print("version = %d, version_agc_sub = %d, code = %d, only support code - 4", version,
                    version_agc_sub, code);
  }
  const unsigned reported = length < head ? 0 : (length - head) / element;
  if (!in.check_count(reported, chains, "agc_rx")) return;
  u16 raw[chains] = {};
  for (unsigned i = 0; i < reported; ++i) raw[i] = in.bits(at::rssi[i]);
  f32 rssi[chains];
  for (unsigned i = 0; i < chains; ++i) rssi[i] = modem_stats_nr5g_rssi(raw[i]);

  in.print(
      "version = %d, version_agc_sub = %d, rssi0_i = %d, rssi1_i = %d, rssi2_i = %d, rssi3_i = %d",
      version, version_agc_sub, raw[0], raw[1], raw[2], raw[3]);
  in.print("rssi0 = %.2f, rssi1 = %.2f, rssi2 = %.2f, rssi3 = %.2f", rssi[0], rssi[1], rssi[2],
           rssi[3]);
  in.publish(nr5g_ll1_fw_rx_control_agc_record, "version"_f = version, "rssi0"_f = rssi[0],
             "rssi1"_f = rssi[1], "rssi2"_f = rssi[2], "rssi3"_f = rssi[3]);
}
