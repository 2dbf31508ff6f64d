// What the command groups share: the checks before a command runs, the note lines that tell of
// misuse, and the road from a sub-command number to its function.
#pragma once

#include <cstdint>
#include <span>

/// A function of a command: takes the untouched argument vector, returns 0 or an error code.
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

/// printf of a note line, by the group's rule.
void print_misuse(const command_group& group, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));

/// The count and group checks, in the group's order. When one fails its note and the group's usage
/// are printed.
[[nodiscard]] bool may_run(const command_group& group, int argc, char** argv);

/// Checks, picks the sub-command by argv[2] and runs it; tells of a failure. Returns 0 when the
/// sub-command did its work.
int run_group(const command_group& group, int argc, char** argv);
