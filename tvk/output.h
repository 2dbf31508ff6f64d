// What commands of several groups print.
#pragma once

#include <span>

#include "tvk/command_group.h"

/// Returned by a command whose arguments are wrong.
constexpr int wrong_arguments = 0x0FFFF00A;

/// Prints that a command needs this many inputs; returns wrong_arguments.
int refuse_inputs(const command_group& group, int needed);

/// Each byte as " %02X", then a newline.
void print_bytes(std::span<const unsigned char> bytes);

/// "data len" and "data" lines of what the modem keeps in an item or file.
void print_data(std::span<const unsigned char> data);
