// The parsers, one for each log code and event id. Each is in a file of its own or shares one with
// closely related codes. It reads its packet from `in`, and prints and publishes through it.
#pragma once

#include "modem_stats/packet_decoder.h"

#define TVK_PARSER(id, parser) void parser(modem_stats::packet_decoder& in);
#include "modem_stats/event_parsers.inc"
#include "modem_stats/log_parsers.inc"
#undef TVK_PARSER

/// The steps of event 1606. The first records the state; the second remembers it, and counts a
/// change to connected. A negative state stands for the remembered one.
void modem_stats_update_1606_diag_event_lte_rrc_state_change(modem_stats::packet_decoder& in,
                                                             int state_in);
void modem_stats_update_1606_diag_event_lte_rrc_state_change_stats(modem_stats::packet_decoder& in,
                                                                   int state_in);
