// Group 5: DIAG requests, cards, maintenance, eSIM.
#include "tvk/command_group.h"
#include "tvk/commands.h"

int norvel_test_cmn_do(int argc, char** argv) {
  constexpr command_group cmn{.number = 5, .printed = notes::unless_quiet};
  return run_group(cmn, argc, argv);
}
