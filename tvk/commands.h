// The dispatchers of the command groups. Each takes the complete argument vector. It returns 0, or
// another number after printing what went wrong.
#pragma once

int norvel_test_rf_do(int argc, char** argv);
int norvel_test_nvefs_do(int argc, char** argv);
int norvel_test_cmn_do(int argc, char** argv);
int norvel_test_qmi_send_data_do(int argc, char** argv);
int norvel_test_modem_stats_do(int argc, char** argv);
int norvel_test_at_cmd_do(int argc, char** argv);
int norvel_test_qmi_modem_stats_do(int argc, char** argv);
int norvel_test_mbn_do(int argc, char** argv);
