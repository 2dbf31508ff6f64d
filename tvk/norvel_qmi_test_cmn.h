// The commands of group 5, and the sender that several of them share. Each command takes the
// complete argument vector and returns 0 or an error code.
#pragma once

#include "tvk/command_group.h"

extern const command_group g_cmn_group;

/// Sends common message `t` with `l` bytes of `v` and prints the answer; returns the extension
/// client's result. No payload is sent when `v` is null or `l` above 499; 497 to 499 abort.
int norvel_cmn_cmd_send(int t, unsigned int l, char* v);

int norvel_cmn_diag_cmd_send(int argc, char** argv);
int norvel_cmn_card_status_query(int argc, char** argv);
int norvel_cmn_card_status_get(int argc, char** argv);
int norvel_cmn_card_status_set(int argc, char** argv);
int norvel_cmn_card_type_query(int argc, char** argv);
int norvel_cmn_card_hotswap_test(int argc, char** argv);
int norvel_cmn_esim_test(int argc, char** argv);

/// Waits for the number of seconds in the property "persist.radio.ssr_wait_s", and returns it.
int norvel_cmn_test_ssr_wait_s();
void norvel_cmn_test_modem_ssr();
void norvel_cmn_test_full_dump();
void norvel_cmn_test_nv_sync();
void norvel_cmn_test_get_sar_dsi();
