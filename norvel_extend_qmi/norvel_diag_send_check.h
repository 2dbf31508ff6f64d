// What a request and the room for its reply must be like: 0, or 1 when they are not, which is
// logged.
#pragma once

constexpr unsigned int norvel_diag_max_request = 4096;

/// A request of 1 to 4096 bytes; it is shown as hex.
int norvel_diag_comand_input_check(unsigned char* data, unsigned int data_len);
/// A capacity above 0.
int norvel_diag_comand_output_check(const unsigned char* reply_buf, const int* p_reply_len);
