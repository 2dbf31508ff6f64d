// The counters of the statistics collector on the modem side, fetched and printed.
#pragma once

/// `tvk 7 2 mask`. False when the arguments are too few.
bool norvel_test_modem_stats_get_debug_info(int argc, char** argv);

/// Mask 0: whether the feature works; bits 1, 2, 4 and 8: the main, diag, cm and uim counters.
void norvel_test_modem_stats_get_debug_info_do(int mask);

/// Prints the verdict from the bytes that start with the version.
void norvel_modem_stats_support_status_check(unsigned char* p);

/// Each prints its block, which starts at `p`, and returns the block's size in bytes; 0 for null.
int norvel_modem_stats_info_unpk(unsigned char* p);
int norvel_modem_stats_diag_info_unpk(unsigned char* p);
int norvel_modem_stats_cm_info_unpk(unsigned char* p);
int norvel_modem_stats_uim_info_unpk(unsigned char* p);
