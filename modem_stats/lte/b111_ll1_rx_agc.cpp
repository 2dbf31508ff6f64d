// Log 0xB111, LTE LL1 RX AGC: a record with the last level of each antenna.
// Layout: docs/formats/lte.md; the second bit of the antenna's number is our own.
#include <array>

#include "modem_stats/conversions.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/lte.h"

namespace modem_stats {
namespace {

namespace at {
constexpr bit_field<u8> num_records{"num_records", 8, 5};
constexpr unsigned records = 12;  // byte
// Relative to a record:
constexpr bit_field<u8> antenna{"rx_antenna", 0, 2};
constexpr bit_field<u16> rssi{"rssi_i", 44, 10};
}  // namespace at

constexpr unsigned stride = 8;  // bytes
constexpr unsigned max_records = 20;
constexpr unsigned antennas = 4;
constexpr u16 not_populated = 1023;

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b111_diag_log_lte_ll1_rx_agc(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  in.check_version(version, {21});
  const auto num_records = in.bits(at::num_records);
  if (!in.check_count(num_records, max_records, "num_records")) return;
  std::array<u16, antennas> raw{};
  for (unsigned i = 0; i < num_records; ++i) {
    in.block_at(at::records + i * stride);
    const auto antenna = in.bits(at::antenna);
    const auto rssi = in.bits(at::rssi);
    if (rssi != not_populated) raw[antenna] = rssi;
  }
  std::array<float, antennas> rssi{};
  for (unsigned i = 0; i < antennas; ++i) rssi[i] = modem_stats_lte_rssi(raw[i]);
  in.print("version = %d, num_records = %d, rssi0_i = %d, rssi1_i = %d, rssi2_i = %d, rssi3_i = %d",
           version, num_records, raw[0], raw[1], raw[2], raw[3]);
  in.print("rssi0 = %.2f, rssi1 = %.2f, rssi2 = %.2f, rssi3 = %.2f", rssi[0], rssi[1], rssi[2],
           rssi[3]);
  in.check_valid(num_records > 0, num_records, "num_records");
  in.publish(lte_rx_agc_record, "version"_f = version, "num_records"_f = num_records,
             "rssi0"_f = rssi[0], "rssi1"_f = rssi[1], "rssi2"_f = rssi[2], "rssi3"_f = rssi[3]);
}
