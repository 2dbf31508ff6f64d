// examples/phone_program, which knows the phone's interfaces only, on the shared libraries made
// from platform/linux.
#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/test.h"

namespace {

TEST(phone_program, reaches_the_modem_through_the_shared_libraries) {
  support::simulated_modem modem({}, {"--set", "sar.dsi=7"});
  const auto got =
      support::run(TVK_EXAMPLE_PROGRAM, {},
                   {{"TVK_MODEM", modem.endpoint()}, {"TVK_DIAG", "unix:" + modem.diag_socket()}});
  EXPECT_EQ(got.output, "RF state: 7\nmodem compiled: Jan 15 2026 10:20:30\n");
  EXPECT_EQ(got.errors, "");
  EXPECT_EQ(got.exit_status, 0);
}

}  // namespace
