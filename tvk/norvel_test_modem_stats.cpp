// Group 7: the statistics decoders and counters.
#include <cstdio>
#include <cstdlib>

#include "tvk/command_group.h"
#include "tvk/commands.h"
#include "tvk/modem_stats_debug_info.h"
#include "tvk/modem_stats_log_or_event.h"
#include "tvk/usage.h"

int norvel_test_modem_stats_do(int argc, char** argv) {
  constexpr command_group modem_stats{.number = 7};
  if (!may_run(modem_stats, argc, argv)) return 1;
  const int type = std::atoi(argv[2]);
  if (type == 0 || type == 1) {
    if (norvel_test_modem_stats_log_or_event(argc, argv)) return 0;
    std::puts("norvel_test_modem_stats_log_or_event FAIL");
  } else if (type == 2) {
    if (norvel_test_modem_stats_get_debug_info(argc, argv)) return 0;
    std::puts("norvel_test_modem_stats_get_debug_info FAIL");
  } else {
    std::printf("invalid type = %d\n", type);
  }
  show_help(modem_stats.number);
  return 1;
}
