#include "tvk/command_group.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "qcril-common/utilities/quiet_notes.h"
#include "tvk/usage.h"

namespace {

bool has_count(const command_group& group, int argc) {
  if (argc >= group.least_argc) return true;
  print_misuse(group, "\nnote: Too few parameters, Pls refer to the following cmd:\n");
  return false;
}

bool is_own_group(const command_group& group, int argc, char** argv) {
  if (argc >= 2 && std::atoi(argv[1]) == group.number) return true;
  print_misuse(group,
               "\nnote: the first parameters should be %d, Pls refer to the following cmd:\n",
               group.number);
  return false;
}

}  // namespace

void print_misuse(const command_group& group, const char* fmt, ...) {
  if (group.printed == notes::unless_quiet && !notes_are_on()) return;
  va_list args;
  va_start(args, fmt);
  std::vprintf(fmt, args);
  va_end(args);
}

bool may_run(const command_group& group, int argc, char** argv) {
  const bool passed = group.first == check::group
                          ? is_own_group(group, argc, argv) && has_count(group, argc)
                          : has_count(group, argc) && is_own_group(group, argc, argv);
  if (!passed) show_help(group.number);
  return passed;
}

int run_group(const command_group& group, int argc, char** argv) {
  if (!may_run(group, argc, argv)) return 1;
  const auto command = std::ranges::find(group.commands, std::atoi(argv[2]), &sub_command::number);
  if (command == group.commands.end()) {
    print_misuse(group,
                 "\nnote: the second parameters is invalid, Pls refer to the following cmd:\n");
    show_help(group.number);
    return 1;
  }
  const int error = command->run(argc, argv);
  if (error != 0) {
    print_misuse(group, "\nnote: Error happen! error_code(%d)\n", error);
    show_help(group.number);
  }
  return error;
}
