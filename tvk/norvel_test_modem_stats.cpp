// Group 7: the statistics decoders and counters.
#include <cstdio>
#include <cstdlib>

#include "tvk/command_group.h"
#include "tvk/commands.h"
#include "tvk/usage.h"

int norvel_test_modem_stats_do(int argc, char** argv) {
  constexpr command_group modem_stats{.number = 7};
  if (!may_run(modem_stats, argc, argv)) return 1;
  std::printf("invalid type = %d\n", std::atoi(argv[2]));
  show_help(modem_stats.number);
  return 1;
}
