// Log 0xB981, NR5G ML1 FC information: states and the last of the actions taken. House layout:
// positions are our own. Layout: docs/formats/nr5g_ml1_ll1.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"

namespace modem_stats {
namespace {

namespace at {
constexpr auto state_last = at_byte<u8>("state_last", 4);
constexpr auto state_current = at_byte<u8>("state_current", 5);
constexpr auto num_action = at_byte<u8>("num_action", 6);
constexpr unsigned actions = 8;  // byte
constexpr unsigned action_stride = 4;
// Of an action.
constexpr auto action_type = at_byte<u8>("action_type", 0);
constexpr auto level_last = at_byte<u8>("level_last", 1);
constexpr auto level_current = at_byte<u8>("level_current", 2);
}  // namespace at

constexpr unsigned max_actions = 8;
constexpr u8 no_action = 255;

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b981_diag_log_nr5g_ml1_fc_information(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  in.check_version(version, {0x20000});
  const auto state_last = in.bits(at::state_last);
  const auto state_current = in.bits(at::state_current);
  const auto num_action = in.bits(at::num_action);
  if (!in.check_count(num_action, max_actions, "num_action")) return;
  u8 action_type = no_action;
  u8 level_last = no_action;
  u8 level_current = no_action;
  if (num_action > 0) {
    in.block_at(at::actions + (num_action - 1U) * at::action_stride);
    action_type = in.bits(at::action_type);
    level_last = in.bits(at::level_last);
    level_current = in.bits(at::level_current);
  }
  in.print(
      "version = %d, state_last = %d, state_current = %d, num_action = %d, action_type = %d, "
      "level_last = %d, level_current = %d",
      version, state_last, state_current, num_action, action_type, level_last, level_current);
  in.publish(nr5g_ml1_fc_information_record, "version"_f = version, "state_last"_f = state_last,
             "state_current"_f = state_current, "num_action"_f = num_action,
             "action_type"_f = action_type, "level_last"_f = level_last,
             "level_current"_f = level_current);
}
