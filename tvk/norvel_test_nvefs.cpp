// Group 4: NV items and EFS files.
#include "tvk/command_group.h"
#include "tvk/commands.h"

int norvel_test_nvefs_do(int argc, char** argv) {
  constexpr command_group nvefs{.number = 4, .first = check::group};
  return run_group(nvefs, argc, argv);
}
