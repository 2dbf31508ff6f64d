// Group 10: modem configurations.
#include <cstdlib>

#include "tvk/command_group.h"
#include "tvk/commands.h"
#include "tvk/usage.h"

int norvel_test_mbn_do(int argc, char** argv) {
  constexpr command_group mbn{.number = 10, .least_argc = 4};
  if (!may_run(mbn, argc, argv)) return 1;
  const int sub_mask = std::atoi(argv[3]);
  if (sub_mask < 1 || sub_mask > 3) {
    print_misuse(mbn, "\nnote: sub_mask(%d) is invalid:\n", sub_mask);
    show_help(mbn.number);
    return 1;
  }
  return report_no_command(mbn);
}
