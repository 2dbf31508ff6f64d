// Log 0xB062, LTE MAC RACH attempt: a failed attempt makes a record, a successful one does not.
// Layout: docs/formats/lte.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/lte.h"

namespace modem_stats {
namespace {

namespace at {
constexpr auto num_records = at_byte<u8>("num_records", 1);
constexpr unsigned sub_packet = 4;  // byte; the offsets below are relative to it
constexpr auto sub_packet_id = at_byte<u8>("sub_packet_id", 0);
constexpr auto version_sub = at_byte<u8>("version_sub", 1);
}  // namespace at

struct attempt_layout {
  unsigned version;
  bit_field<i8> rach_result;
  origin from = origin::product;
};
constexpr attempt_layout attempt_layouts[] = {
    {49, at_byte<i8>("rach_result", 7)},
    {2, at_byte<i8>("rach_result", 5), origin::published},
    {3, at_byte<i8>("rach_result", 7), origin::published},
    {4, at_byte<i8>("rach_result", 5), origin::published},
    {50, at_byte<i8>("rach_result", 7), origin::published},
};

constexpr u8 rach_attempt = 6;  // sub-packet id

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b062_diag_log_lte_mac_rach_attempt(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  in.check_version(version, {1});
  const auto num_records = in.bits(at::num_records);
  u8 version_sub = 0;
  i8 rach_result = -1;  // if the packet has no record, this is printed and then rejected
  if (num_records > 0) {
    in.block_at(at::sub_packet);
    const auto sub_packet_id = in.bits(at::sub_packet_id);
    in.check_valid(sub_packet_id == rach_attempt, sub_packet_id, "sub_packet_id");
    version_sub = in.bits(at::version_sub);
    const auto& layout = in.layout_for(version_sub, attempt_layouts, "lte_mac_rach_attempt");
    rach_result = in.bits(layout.rach_result);
    if (rach_result == 0) return in.print("rach is success, do nothing");
  }
  in.print("sub_id = %d, version = %d, num_records = %d, version_sub = %d, rach_result = %d",
           in.sub_id(), version, num_records, version_sub, rach_result);
  in.check_valid(rach_result > 0, rach_result);
  in.publish(lte_mac_rach_attempt_record, "version"_f = version, "version_sub"_f = version_sub,
             "rach_result"_f = static_cast<u8>(rach_result));
}
