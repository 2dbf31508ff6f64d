// Group 9: statistics records over QMI.
#include "tvk/command_group.h"
#include "tvk/commands.h"

int norvel_test_qmi_modem_stats_do(int argc, char** argv) {
  constexpr command_group qmi_modem_stats{.number = 9, .least_argc = 4};
  if (!may_run(qmi_modem_stats, argc, argv)) return 1;
  return report_no_command(qmi_modem_stats);
}
