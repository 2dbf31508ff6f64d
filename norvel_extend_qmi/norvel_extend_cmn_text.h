// Bytes and masks as text.
#pragma once

/// Writes 2*len lowercase hex characters to `out`, without a terminator. Does nothing when `in` is
/// null or `len` is below 1.
void norvel_byte_to_hex(unsigned char* in, int len, unsigned char* out);

/// Logs and prints a buffer of 1 to 4096 bytes as a hex line. The result is meaningless.
int norvel_print_data_with_hex(unsigned char* data, unsigned int len);

/// A blank and the name of the processor for the lowest bit set among bits 0 to 5; empty if none
/// is. The result is static: the next call overwrites it.
char* norvel_print_diag_mask_name(unsigned int mask);
