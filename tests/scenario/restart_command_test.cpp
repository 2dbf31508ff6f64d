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
  // The level, the seconds to wait, what is printed before the request and after it, the pauses.
  using pauses = std::vector<std::chrono::milliseconds>;
  const std::tuple<std::string, std::string, std::string, pauses> rows[] = {
      {"ALL_DISABLE", "", waited("3"), {3s, 3s}},
      {"all_enable", "1s", waited("1"), {1s, 1s}},
      {"ALL_DISABLE", "text", no_wait, {}},
      {"ALL_ENABLE", "5", "", {}},
      // The unsigned number that the pause takes.
      {"ALL_DISABLE", "-1", waited("-1"), {4294967295s}},
  };
  hand_modem modem;
  modem.answer_with_tlvs(hex("01 0400 07000000  02 0400 00000000"));  // its failure changes nothing
  setenv("TVK_MODEM", modem.endpoint().c_str(), 1);
  for (const auto& [level, seconds, wait, wanted_pauses] : rows) {
    SCOPED_TRACE(level + " " + seconds);
    const temp_dir dir;
    setenv("TVK_PROPERTIES", dir.file("properties").c_str(), 1);
    property_set("persist.vendor.ssr.restart_level", level.c_str());
    property_set("persist.radio.ssr_wait_s", seconds.c_str());
    modem.forget_requests();
    const auto printed = printed_by(norvel_cmn_test_modem_ssr);
    const std::string function = "norvel_cmn_test_modem_ssr";
    const bool is_open = level == "ALL_ENABLE";
    const bool is_cancelled = seconds == "-1";
    EXPECT_TRUE(printed.starts_with(
        log_lines(function, {"Will trigger SSR of modem, the current state: " + level + "\n"}) +
        (is_open ? "" : "need to open ssr\n") + wait))
        << printed;
    EXPECT_TRUE(printed.ends_with(
        is_cancelled ? wait + "wait_s < 0, ssr is stoped\n"
                     : log_lines("norvel_send_common_qmi_msg", {function_exit}) + wait +
                           (is_open ? "" : log_lines(function, {"back to old ssr state\n"}))))
        << printed;
    EXPECT_EQ(take_pauses(), wanted_pauses);
    EXPECT_EQ(modem.requests().size(), is_cancelled ? 0U : 1U);
    std::array<char, PROPERTY_VALUE_MAX> left{};
    property_get("persist.vendor.ssr.restart_level", left.data(), "");
    EXPECT_EQ(left.data(), is_cancelled ? "ALL_ENABLE" : level);
  }
}

}  // namespace
