// Log 0xB98F, NR5G ML1 antenna switch diversity: the antenna of each chain before and after the
// switch. The order of the chains (Rx0..Rx3, Tx0, Tx1) is inferred.
// Layout: docs/formats/nr5g_ml1_ll1.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"

namespace modem_stats {
namespace {

constexpr unsigned chain(unsigned number) {
  return 32 + 24 * number;
}
constexpr unsigned old_antenna = 20;  // byte of a chain
constexpr unsigned new_antenna = 23;

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b98f_diag_log_nr5g_ml1_antenna_switch_diversity(
    modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  in.check_version(version, {0x20002});
  const auto rx_0_old = in.bits(at_byte<u8>("ant_rx_0_old", chain(0) + old_antenna));
  const auto rx_0_new = in.bits(at_byte<u8>("ant_rx_0_new", chain(0) + new_antenna));
  const auto rx_1_old = in.bits(at_byte<u8>("ant_rx_1_old", chain(1) + old_antenna));
  const auto rx_1_new = in.bits(at_byte<u8>("ant_rx_1_new", chain(1) + new_antenna));
  const auto rx_2_old = in.bits(at_byte<u8>("ant_rx_2_old", chain(2) + old_antenna));
  const auto rx_2_new = in.bits(at_byte<u8>("ant_rx_2_new", chain(2) + new_antenna));
  const auto rx_3_old = in.bits(at_byte<u8>("ant_rx_3_old", chain(3) + old_antenna));
  const auto rx_3_new = in.bits(at_byte<u8>("ant_rx_3_new", chain(3) + new_antenna));
  const auto tx_0_old = in.bits(at_byte<u8>("ant_tx_0_old", chain(4) + old_antenna));
  const auto tx_0_new = in.bits(at_byte<u8>("ant_tx_0_new", chain(4) + new_antenna));
  const auto tx_1_old = in.bits(at_byte<u8>("ant_tx_1_old", chain(5) + old_antenna));
  const auto tx_1_new = in.bits(at_byte<u8>("ant_tx_1_new", chain(5) + new_antenna));
  in.print(
      "version = %d, ant_rx_0_old = %d, ant_rx_0_new = %d, ant_rx_1_old = %d, ant_rx_1_new = %d, "
      "ant_rx_2_old = %d, ant_rx_2_new = %d",
      version, rx_0_old, rx_0_new, rx_1_old, rx_1_new, rx_2_old, rx_2_new);
  in.print(
      "ant_rx_3_old = %d, ant_rx_3_new = %d, ant_tx_0_old = %d, ant_tx_0_new = %d, "
      "ant_tx_1_old = %d, ant_tx_1_new = %d",
      rx_3_old, rx_3_new, tx_0_old, tx_0_new, tx_1_old, tx_1_new);
  in.publish(nr5g_ml1_antenna_switch_diversity_record, "version"_f = version,
             "ant_rx_0_old"_f = rx_0_old, "ant_rx_0_new"_f = rx_0_new, "ant_rx_1_old"_f = rx_1_old,
             "ant_rx_1_new"_f = rx_1_new, "ant_rx_2_old"_f = rx_2_old, "ant_rx_2_new"_f = rx_2_new,
             "ant_rx_3_old"_f = rx_3_old, "ant_rx_3_new"_f = rx_3_new, "ant_tx_0_old"_f = tx_0_old,
             "ant_tx_0_new"_f = tx_0_new, "ant_tx_1_old"_f = tx_1_old, "ant_tx_1_new"_f = tx_1_new);
}
