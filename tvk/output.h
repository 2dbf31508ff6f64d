// Output that commands of several groups share.
#pragma once

#include <span>

#include "tvk/command_group.h"

/// Result of a command with wrong arguments.
constexpr int wrong_arguments = 0x0FFFF00A;

/// Prints that the command needs this many inputs; returns wrong_arguments.
int refuse_inputs(const command_group& group, int needed);

/// Prints each byte as " %02X", then a newline.
void print_bytes(std::span<const unsigned char> bytes);

/// Prints the "data len" and "data" lines for the contents of an item or file.
void print_data(std::span<const unsigned char> data);
