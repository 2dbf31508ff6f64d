// Fetches and prints the counters of the modem's statistics collector.
#pragma once

/// `tvk 7 2 mask`. False when there are too few arguments.
bool norvel_test_modem_stats_get_debug_info(int argc, char** argv);

/// Mask 0 prints whether the feature works; bits 1, 2, 4 and 8 select the main, diag, cm and uim
/// counters.
void norvel_test_modem_stats_get_debug_info_do(int mask);

/// Prints the verdict. `p` starts with the version.
void norvel_modem_stats_support_status_check(unsigned char* p);

/// Each prints the block that starts at `p` and returns its size in bytes; 0 for null.
int norvel_modem_stats_info_unpk(unsigned char* p);
int norvel_modem_stats_diag_info_unpk(unsigned char* p);
int norvel_modem_stats_cm_info_unpk(unsigned char* p);
int norvel_modem_stats_uim_info_unpk(unsigned char* p);
