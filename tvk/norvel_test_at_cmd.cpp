// Group 8: one AT command.
#include <cstring>

#include "tvk/command_group.h"
#include "tvk/commands.h"
#include "tvk/usage.h"

namespace {

constexpr command_group at_cmd{.number = 8};
constexpr int max_at_cmd_len = 100;

bool has_one_short_command(int argc, char** argv) {
  if (argc != 3) {
    print_misuse(at_cmd,
                 "\nnote: The number of inputs should be 2, Pls refer to the following cmd:\n");
    show_help(at_cmd.number);
    return false;
  }
  if (!may_run(at_cmd, argc, argv)) return false;
  if (std::strlen(argv[2]) > max_at_cmd_len) {
    print_misuse(at_cmd,
                 "\nnote: the second parameters length should <= %d, Pls refer to the following "
                 "cmd:\n",
                 max_at_cmd_len);
    show_help(at_cmd.number);
    return false;
  }
  return true;
}

}  // namespace

int norvel_test_at_cmd_do(int argc, char** argv) {
  if (!has_one_short_command(argc, argv)) return 1;
  return report_no_command(at_cmd);
}
