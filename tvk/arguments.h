// Numbers on the command line.
#pragma once

/// Parses an argument: hexadecimal after "0x" or "0X", otherwise as atoi does.
int norvel_string_to_int(char* str);

/// The value of hexadecimal digits; any other character counts as the digit 0. More than 50
/// characters, or a value above 0x7FFFFFFF, end the process.
int norvel_hex_string_to_int(char* str);
