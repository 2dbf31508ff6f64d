// Group 3: GPIO and RF transmit test settings.
#include "tvk/command_group.h"
#include "tvk/commands.h"

int norvel_test_rf_do(int argc, char** argv) {
  constexpr command_group rf{.number = 3, .first = check::group};
  return run_group(rf, argc, argv);
}
