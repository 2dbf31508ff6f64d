// Event 1606, LTE RRC state change: prints the state, and makes a statistics record each time a
// connection is established. Layout: docs/formats/events.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/events.h"

namespace modem_stats {
namespace {

constexpr u8 connected = 4;
constexpr u8 closing = 7;

// Only the collector in the modem has times and counts; they are not available here.
constexpr int not_kept = 0;
constexpr int unknown_sub_id = 0;  // sic: printed for every subscription

}  // namespace
}  // namespace modem_stats

void modem_stats_update_1606_diag_event_lte_rrc_state_change(modem_stats::packet_decoder& in,
                                                             int state_in) {
  using namespace modem_stats;
  in.print("sub_id = %d, rrc_state_current_in = %d", in.sub_id(), state_in);
  in.publish(lte_rrc_state_record, "rrc_state"_f = static_cast<u8>(state_in));
}

void modem_stats_update_1606_diag_event_lte_rrc_state_change_stats(modem_stats::packet_decoder& in,
                                                                   int state_in) {
  using namespace modem_stats;
  u8& last = in.state().lte_rrc_last_state;
  const u8 current = state_in < 0 ? last : static_cast<u8>(state_in);
  in.print(
      "1606_diag_event_lte_rrc_state_change, time_last = %d, time_current = %d, "
      "rrc_state_last = %d, rrc_state_current = %d, rrc_state_current_in = %d, "
      "old rrc_active_time = %d, old rrc_setup_count = %d",
      not_kept, not_kept, last, current, state_in, not_kept, not_kept);
  if (current == closing && last == connected) {
    in.print(
        "1606_diag_event_lte_rrc_state_change, New Closing and Old Connected, time not inited, "
        "do nothing, sub_id %d",
        unknown_sub_id);
  } else if (current == closing) {
    in.print(
        "1606_diag_event_lte_rrc_state_change, New Closing and Old other state, do nothing, "
        "sub_id %d",
        unknown_sub_id);
  } else if (current == connected && last == connected) {
    in.print(
        "1606_diag_event_lte_rrc_state_change, New Connected and Old Connected, time not inited, "
        "do nothing, sub_id %d",
        unknown_sub_id);
  } else if (current == connected) {
    constexpr u32 rrc_active_time = 0;
    constexpr u32 rrc_setup_count = 1;
    constexpr u8 rrc_setup = 1;
    in.print(
        "----1606_diag_event_lte_rrc_state_change, New Connected and Old other state, "
        "rrc_setup_count = %d, sub_id %d",
        rrc_setup_count, unknown_sub_id);
    in.publish(lte_rrc_state_change_record, "rrc_active_time"_f = rrc_active_time,
               "rrc_setup_count"_f = rrc_setup_count, "rrc_setup"_f = rrc_setup);
  } else {
    in.print(
        "1606_diag_event_lte_rrc_state_change, New other state and Old other state, do nothing, "
        "sub_id %d",
        unknown_sub_id);
  }
  if (in.ok()) last = current;
}

void modem_stats_parse_1606_diag_event_lte_rrc_state_change(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto state = in.next<u8>("rrc_state_current");
  if (!in.ok()) return;
  modem_stats_update_1606_diag_event_lte_rrc_state_change(in, state);
  modem_stats_update_1606_diag_event_lte_rrc_state_change_stats(in, state);
}
