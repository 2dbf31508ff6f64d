// What the command groups share: the checks before a command runs, the note lines about misuse,
// and the dispatch from a sub-command number to its function.
#pragma once

#include <cstdint>
#include <span>

/// A command: takes the complete argument vector, returns 0 or an error code.
using command_function = int (*)(int argc, char** argv);

struct sub_command {
  int number;
  command_function run;
};

/// Whether the quiet flag silences a group's note lines.
enum class notes : std::uint8_t { always, unless_quiet };

/// Which check comes first.
enum class check : std::uint8_t { group, count };

struct command_group {
  int number;
  notes printed = notes::always;
  check first = check::count;
  int least_argc = 3;
  std::span<const sub_command> commands = {};
};

/// Prints a note line, unless the group obeys the quiet flag and it is set.
void print_misuse(const command_group& group, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));

/// Runs the count and group checks in the group's order. When one fails, prints its note and the
/// group's usage.
[[nodiscard]] bool may_run(const command_group& group, int argc, char** argv);

/// Runs the checks and the sub-command that argv[2] selects; prints a note on failure. Returns 0 on
/// success.
int run_group(const command_group& group, int argc, char** argv);
