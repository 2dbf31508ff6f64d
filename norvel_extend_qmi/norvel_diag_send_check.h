// Argument checks for a request and the buffer for its reply. They return 0, or 1 after logging
// what is wrong.
#pragma once

constexpr unsigned int norvel_diag_max_request = 4096;

/// Accepts 1 to 4096 bytes, and logs them as hex.
int norvel_diag_comand_input_check(unsigned char* data, unsigned int data_len);
/// Accepts a capacity above 0.
int norvel_diag_comand_output_check(const unsigned char* reply_buf, const int* p_reply_len);
