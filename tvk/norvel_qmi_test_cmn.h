// The commands of group 5, and the sender that several of them share. Each command takes the
// untouched argument vector and returns 0 or an error code.
#pragma once

#include "tvk/command_group.h"

extern const command_group g_cmn_group;

/// Sends common message `t` with `l` bytes of `v` and prints the answer; returns the extension
/// client's result. A null `v`, or an `l` above 499, sends no payload; 497 to 499 end the process.
int norvel_cmn_cmd_send(int t, unsigned int l, char* v);

int norvel_cmn_diag_cmd_send(int argc, char** argv);
int norvel_cmn_card_status_query(int argc, char** argv);
int norvel_cmn_card_status_get(int argc, char** argv);
int norvel_cmn_card_status_set(int argc, char** argv);
int norvel_cmn_card_type_query(int argc, char** argv);
int norvel_cmn_card_hotswap_test(int argc, char** argv);
int norvel_cmn_esim_test(int argc, char** argv);

/// Waits as many seconds as the property "persist.radio.ssr_wait_s" tells, and returns them.
int norvel_cmn_test_ssr_wait_s();
void norvel_cmn_test_modem_ssr();
void norvel_cmn_test_full_dump();
void norvel_cmn_test_nv_sync();
void norvel_cmn_test_get_sar_dsi();
