// `tvk 5 5`: what it does with the restart level, and how long it waits, without the wait.
#include <stdlib.h>

#include <array>
#include <chrono>

#include "platform/properties.h"
#include "support/hand_modem.h"
#include "support/pauses.h"
#include "support/printed.h"
#include "support/temp_dir.h"
#include "support/test.h"
#include "tvk/norvel_qmi_test_cmn.h"

namespace {

using namespace std::chrono_literals;
using namespace support;

std::string waited(const std::string& seconds) {
  return "ssr wait_s = " + seconds + "\nmodem ssr start to wait " + seconds +
         "s to init\nmodem ssr end to wait " + seconds + "s to init\n";
}

TEST(restart_command, waits_before_and_after_the_restart_unless_the_time_is_negative) {
  const std::string no_wait = "ssr wait_s = 0\nmodem ssr will not wait\n";
  const struct {
    std::string level;
    const char* seconds;
    std::string printed;  ///< before the request, and after it
    std::vector<std::chrono::milliseconds> pauses;
    std::size_t requests;
    std::string level_afterwards;
  } rows[] = {
      {"ALL_DISABLE", "", waited("3"), {3s, 3s}, 1, "ALL_DISABLE"},
      {"all_enable", "1s", waited("1"), {1s, 1s}, 1, "all_enable"},
      {"ALL_DISABLE", "text", no_wait, {}, 1, "ALL_DISABLE"},
      {"ALL_ENABLE", "5", "", {}, 1, "ALL_ENABLE"},
      // The unsigned number that the pause takes.
      {"ALL_DISABLE", "-1", waited("-1"), {4294967295s}, 0, "ALL_ENABLE"},
  };
  hand_modem modem;
  modem.answer_with_tlvs(hex("01 0400 07000000  02 0400 00000000"));  // its failure changes nothing
  setenv("TVK_MODEM", modem.endpoint().c_str(), 1);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.level + " " + row.seconds);
    const temp_dir dir;
    setenv("TVK_PROPERTIES", dir.file("properties").c_str(), 1);
    property_set("persist.vendor.ssr.restart_level", row.level.c_str());
    property_set("persist.radio.ssr_wait_s", row.seconds);
    const auto before = modem.requests().size();
    const auto printed = printed_by(norvel_cmn_test_modem_ssr);
    const std::string function = "norvel_cmn_test_modem_ssr";
    const bool is_open = row.level == "ALL_ENABLE";
    EXPECT_TRUE(printed.starts_with(
        log_lines(function, {"Will trigger SSR of modem, the current state: " + row.level + "\n"}) +
        (is_open ? "" : "need to open ssr\n") + row.printed))
        << printed;
    EXPECT_TRUE(printed.ends_with(
        row.requests == 0 ? row.printed + "wait_s < 0, ssr is stoped\n"
                          : log_lines("norvel_send_common_qmi_msg", {function_exit}) + row.printed +
                                (is_open ? "" : log_lines(function, {"back to old ssr state\n"}))))
        << printed;
    EXPECT_EQ(take_pauses(), row.pauses);
    EXPECT_EQ(modem.requests().size() - before, row.requests);
    std::array<char, PROPERTY_VALUE_MAX> level{};
    property_get("persist.vendor.ssr.restart_level", level.data(), "");
    EXPECT_EQ(level.data(), row.level_afterwards);
  }
}

}  // namespace
