// Numbers on the command line.
#pragma once

/// What an argument denotes: hexadecimal behind "0x" or "0X", else what atoi makes of it.
int norvel_string_to_int(char* str);

/// The value of hexadecimal digits; any other character counts as the digit 0. More than 50
/// characters, or a value above 0x7FFFFFFF, end the process.
int norvel_hex_string_to_int(char* str);
