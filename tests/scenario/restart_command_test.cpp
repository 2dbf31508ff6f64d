// How long `tvk 5 5` waits for the modem's restart, without the wait.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "support/hand_modem.h"
#include "support/pauses.h"
#include "support/printed.h"
#include "support/temp_dir.h"
#include "tvk/norvel_qmi_test_cmn.h"

namespace {

using namespace std::chrono_literals;

const std::string opened =
    "RIL[norvel_cmn_test_modem_ssr:#]: Will trigger SSR of modem, the current state: "
    "ALL_DISABLE\n\n"
    "need to open ssr\n";
const std::string sent = "RIL[norvel_send_common_qmi_msg:#]: function exit <-------------\n";
const std::string closed = "RIL[norvel_cmn_test_modem_ssr:#]: back to old ssr state\n\n";

TEST(restart_command, waits_before_and_after_the_restart_unless_the_time_is_negative) {
  const auto waited = [](const std::string& seconds) {
    return "ssr wait_s = " + seconds + "\nmodem ssr start to wait " + seconds +
           "s to init\nmodem ssr end to wait " + seconds + "s to init\n";
  };
  const struct {
    const char* time;
    std::string printed;
    std::vector<std::chrono::milliseconds> pauses;
    std::size_t restarts;
  } rows[] = {
      {"", waited("3"), {3s, 3s}, 1},
      {"1s", waited("1"), {1s, 1s}, 1},
      {"0", "ssr wait_s = 0\nmodem ssr will not wait\n", {}, 1},
      {"-1", waited("-1"), {4294967295s}, 0},  // as the unsigned number it is passed on as
  };
  support::hand_modem modem;
  modem.answer_with_tlvs(support::hex("01 0400 00000000  02 0400 00000000"));
  setenv("TVK_MODEM", modem.endpoint().c_str(), 1);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.time);
    const support::temp_dir dir;
    if (*row.time != '\0') {
      std::ofstream(dir.file("properties")) << "persist.radio.ssr_wait_s=" << row.time << "\n";
    }
    setenv("TVK_PROPERTIES", dir.file("properties").c_str(), 1);
    const auto before = modem.requests().size();
    const auto printed = support::printed_by(norvel_cmn_test_modem_ssr);
    EXPECT_TRUE(printed.starts_with(opened + row.printed)) << printed;
    EXPECT_TRUE(printed.ends_with(row.restarts == 0 ? row.printed + "wait_s < 0, ssr is stoped\n"
                                                    : sent + row.printed + closed))
        << printed;
    EXPECT_EQ(support::take_pauses(), row.pauses);
    EXPECT_EQ(modem.requests().size() - before, row.restarts);
  }
}

}  // namespace
