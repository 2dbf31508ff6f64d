// Runs the decoders of DIAG logs and events without a modem.
#pragma once

/// `tvk 7 type id`: decodes a fixed payload as log (type 0) or event `id`. False when there are too
/// few arguments.
bool norvel_test_modem_stats_log_or_event(int argc, char** argv);
