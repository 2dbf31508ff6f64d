// Log 0xB88A, NR5G MAC RACH attempt: the timing advance that the cell assigned.
// Layout: docs/formats/nr5g_mac_rrc.md; the positions of 0x30000 are our own.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_mac_rrc.h"

namespace modem_stats {
namespace {

struct attempt_layout {
  unsigned version;
  unsigned attempt;    // byte
  unsigned message_2;  // byte; contents of message 2
  bool (*has_message_2)(unsigned rach_msg_bitmask);
};

constexpr bool second_bit(unsigned bitmask) {
  return (bitmask & 2U) != 0;
}
constexpr bool three_or_more(unsigned bitmask) {
  return bitmask >= 3;
}

constexpr attempt_layout layouts[] = {
    {0x20003, 21, 62, second_bit}, {0x20006, 21, 62, second_bit}, {0x20007, 21, 62, second_bit},
    {0x20009, 21, 62, second_bit}, {0x30000, 13, 54, second_bit}, {0x30005, 14, 66, three_or_more},
};

namespace at {
constexpr auto rach_result = at_byte<u8>("rach_result", 0);  // of the attempt
constexpr auto rach_msg_bitmask = at_byte<u8>("rach_msg_bitmask", 2);
constexpr auto t_rnti = at_byte<u16>("t_rnti", 0);  // of message 2
constexpr auto ta = at_byte<u16>("ta", 2);
}  // namespace at

constexpr u8 no_result = 255;
constexpr u16 not_received = 65535;

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b88a_diag_log_nr5g_mac_rach_attempt(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  const auto& layout = in.layout_for(version, layouts);
  in.block_at(layout.attempt);
  const auto rach_result = in.bits(at::rach_result);
  const auto rach_msg_bitmask = in.bits(at::rach_msg_bitmask);
  u16 t_rnti = not_received;
  u16 ta = not_received;
  if (layout.has_message_2(rach_msg_bitmask)) {
    in.block_at(layout.message_2);
    t_rnti = in.bits(at::t_rnti);
    ta = in.bits(at::ta);
  }
  in.print(
      "sub_id = %d, version = %d, rach_msg_bitmask = %d, t_rnti = %d, ta = %d, rach_result = %d",
      in.sub_id(), version, rach_msg_bitmask, t_rnti, ta, rach_result);
  in.check_valid(rach_result != no_result, ta);  // sic: reports ta instead of the result
  in.publish(nr5g_mac_rach_attempt_record, "version"_f = version, "ta"_f = ta);
}
