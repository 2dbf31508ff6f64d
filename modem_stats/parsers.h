// The parsers: one for each log code and event id, each in a file of its own name or with its
// family. Each reads the packet that `in` stands on and gives its lines and records to it.
#pragma once

#include "modem_stats/packet_decoder.h"

#define TVK_PARSER(id, parser) void parser(modem_stats::packet_decoder& in);
#include "modem_stats/event_parsers.inc"
#include "modem_stats/log_parsers.inc"
#undef TVK_PARSER

/// The steps of event 1606: the first records the state, the second counts it when it comes to be
/// connected and remembers it. A negative state is the last one.
void modem_stats_update_1606_diag_event_lte_rrc_state_change(modem_stats::packet_decoder& in,
                                                             int state_in);
void modem_stats_update_1606_diag_event_lte_rrc_state_change_stats(modem_stats::packet_decoder& in,
                                                                   int state_in);
