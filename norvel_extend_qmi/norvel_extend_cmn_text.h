// Bytes and masks as text.
#pragma once

/// Writes 2*len lowercase hex characters to `out`, without a terminator. Nothing for a null `in` or
/// a `len` below 1.
void norvel_byte_to_hex(unsigned char* in, int len, unsigned char* out);

/// Logs and prints a buffer of 1 to 4096 bytes as a hex line. The result means nothing.
int norvel_print_data_with_hex(unsigned char* data, unsigned int len);

/// The name, behind a blank, of the processor of the lowest of bits 0 to 5 that is set; empty when
/// none is. The text is static: the next call overwrites it.
char* norvel_print_diag_mask_name(unsigned int mask);
