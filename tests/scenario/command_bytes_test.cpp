// What each command sends, byte by byte, and what it makes of answers that no simulated modem
// gives.
//
// A request of the extension service: its type, then 512 bytes. Type 2 is NV and EFS, type 4 the
// common request: kind, 0; of kind 2, a message: number, length, data.
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "support/hand_modem.h"
#include "support/printed.h"
#include "support/process.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

std::string repeated(const std::string& text, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) out += text;
  return out;
}

using exchanges = std::vector<std::pair<unsigned, bytes>>;

class command : public testing::Test {
 protected:
  command() {
    set_level("ALL_ENABLE");
    answer({}, {});
  }

  /// What NV and EFS requests get, and what common requests get, with zeros after it.
  void answer(const bytes& nvefs, const bytes& common) {
    modem_.on_request([nvefs, common](const datagram& request) {
      const bool is_common = request.data.at(10) == 4;
      const auto tlvs =
          hex("01 0400 00000000") + (is_common ? hex("02 0400 fc010000 10 0002") + padded(common)
                                               : hex("02 0400 bc010000 10 0002") + padded(nvefs));
      return reply(request, tlvs);
    });
  }

  process_result run(const std::string& line) {
    std::istringstream words(line);
    return support::run(TVK_PROGRAM, {std::istream_iterator<std::string>(words), {}},
                        {{"TVK_MODEM", modem_.endpoint()}, {"TVK_PROPERTIES", properties()}});
  }

  void set_level(const std::string& level) const {
    std::ofstream(properties()) << "persist.vendor.ssr.restart_level=" << level << "\n";
  }

  /// Type and 512 bytes of each request sent since the last call.
  exchanges sent() {
    exchanges out;
    const auto requests = modem_.requests();
    for (; seen_ < requests.size(); ++seen_) {
      const auto& data = requests[seen_].data;
      out.emplace_back(data.at(10), slice(data, 24));
    }
    return out;
  }

 private:
  [[nodiscard]] std::string properties() const { return dir_.file("properties"); }

  hand_modem modem_;
  temp_dir dir_;
  std::size_t seen_ = 0;
};

TEST_F(command, request_bytes) {
  answer(fill(4) + hex("01000000 01000000 00000000 00000000 55"), {});
  std::string sixty;
  for (int i = 1; i <= 60; ++i) sixty += " " + std::to_string(i);
  bytes fifty;
  for (std::uint8_t i = 1; i <= 50; ++i) fifty = fifty + bytes{i, 0, 0, 0};
  const std::tuple<std::string, unsigned, bytes> rows[] = {
      {"3 0 1 -1 0x10 70000 x", 4,
       hex("00000000 00000000 05000000  01000000 ffffffff 00000000 70110100 00000000")},
      {"3 0" + sixty, 4, hex("00000000 00000000 3c000000") + fifty},
      {"3 3 -1 70000 4294967298", 4, hex("01000000 00000000 ffffffff 70110100 02000000 01000000")},
      {"4 1 7 550", 2, hex("01 01 2602")},
      {"4 2 1 550 1 2 0x10", 2, padded(hex("02 01 2602"), 76) + hex("03000000 00*8 010200")},
      {"4 2 0 7" + repeated(" 90", 400), 2,
       padded(hex("02 00 0700"), 76) + hex("6d010000 00*8 5a*365")},
      {"4 3 -1 7232", 2, hex("03 01 401c")},
      {"4 4 1 /nv/a", 2, hex("04 01 0000 05 2f6e762f61")},
      {"4 5 0 /a 1 2", 2,
       padded(hex("05 00 0000 02 2f61"), 76) + hex("02000000 02000000 00000000 0102")},
      {"4 5 1 /a" + repeated(" 90", 400), 2,
       padded(hex("05 01 0000 02 2f61"), 76) + hex("6d010000 6d010000 00000000 5a*365")},
      {"4 6 1 /a", 2, hex("06 00 0000 02 2f61")},
      {"5 1", 4, hex("02000000 00000000 27000000 00000000")},
      {"5 2 -3", 4, hex("02000000 00000000 37000000 04000000 01000000")},
      {"5 3 1 0 7", 4, hex("02000000 00000000 39000000 0c000000 01000000 00000000 01000000")},
      {"5 4", 4, hex("02000000 00000000 38000000 00000000")},
      {"5 5", 4, hex("02000000 00000000 1f000000 04000000 00100000")},
      {"5 7", 4, hex("02000000 00000000 23000000 00000000")},
      {"5 9 0", 4, hex("02000000 00000000 50000000 04000000 00000000")},
      {"5 9 2 -1 70000 0", 4,
       hex("02000000 00000000 50000000 10000000 02000000 ffffffff 70110100 00000000")},
      {"7 2 255", 4, hex("14000000")},
  };
  for (const auto& [line, type, payload] : rows) {
    SCOPED_TRACE(line.substr(0, 40));
    const auto got = run(line);
    EXPECT_EQ(got.exit_status, 0);
    EXPECT_EQ(got.errors, "");
    EXPECT_EQ(sent(), (exchanges{{type, padded(payload)}})) << got.output;
  }
}

TEST_F(command, full_dump_counts_the_switch_before_the_request) {
  const bytes path = ascii("/nv/item_files/modem/norvel/ssr_update_count");
  const auto get = padded(hex("04 00 0000 2c") + path);
  const auto put = padded(hex("05 00 0000 2c") + path, 76) + hex("04000000 04000000 00000000");
  const auto dump = padded(hex("02000000 00000000 1f000000 04000000 00200000"));
  const auto counted = [&](const char* count) {
    return exchanges{{2, get}, {2, padded(put + hex(count))}, {4, dump}};
  };
  const std::tuple<std::string, std::string, exchanges> rows[] = {
      {"ALL_ENABLE", "00000000 ff000000", counted("00010000")},
      // A failed read counts as 0, whatever the answer holds. That the write fails does not matter.
      {"anything", "02000000 ff000000", counted("01000000")},
      {"ALL_ENABLE", "00000000 ffffffff", {{2, get}}},  // the count would be 0
      {"ALL_DISABLE", "00000000 00000000", {{4, dump}}},
  };
  for (const auto& [level, result_and_count, wanted] : rows) {
    SCOPED_TRACE(result_and_count);
    set_level(level);
    answer(fill(4) + hex("04000000 04000000 00*4") + hex(result_and_count), {});
    const auto got = run("5 6");
    EXPECT_EQ(got.signal, wanted.back().first == 4 ? 0 : SIGABRT);
    EXPECT_FALSE(contains(got.output, "error_code")) << got.output;
    EXPECT_EQ(sent(), wanted) << got.output;
  }
}

TEST_F(command, printed_answer_of_a_common_message) {
  const auto start =
      "norvel_cmn_card_status_query\nparam(cnt: 0):\nnorvel_cmn_cmd_send, t: 39, l: 0\n" +
      client_made + exchanged(508) + "result = 0, rsp.result = ";
  const std::tuple<bytes, std::string, int> rows[] = {
      // The data begins with the word before its length.
      {hex("00*8 0a0b0c0d 06000000 ff"), "0\n\ndata len(6)\ndata: 0A 0B 0C 0D 06 00\n", 0},
      {hex("00*8 c3c3c3c3 f4010000 c3*492"),
       "0\n\ndata len(500)\ndata: C3 C3 C3 C3 F4 01 00 00" + repeated(" C3", 492) + "\n", 0},
      {hex("00*12 f5010000"), "0\n\ndata len(501)\ndata:", SIGABRT},
      // The exchange itself succeeded, so no error is shown.
      {hex("00*4 ffffffff 01000000 04000000"), "-1\nrsp.result fail\n", 0},
  };
  for (const auto& [words, output, signal] : rows) {
    answer({}, words);
    const auto got = run("5 1");
    EXPECT_EQ(got.output, start + output);
    EXPECT_EQ(got.signal, signal);
  }
}

/// "size name value" of each counter, as the program prints them.
std::string counters(const std::string& rows) {
  std::string text;
  std::istringstream in(rows);
  for (std::string size, counter, value; in >> size >> counter >> value;) {
    text += "UNPK[size:" + size + "], " + counter + " = " + value + "\n";
  }
  return text;
}

std::string block(const std::string& name, const std::string& rows, int end) {
  return "-------- stats " + name + " info start --------\n" + counters(rows) + "-------- stats " +
         name + " info end, cnt(" + std::to_string(end) + ") --------\n";
}

std::string debug_start(const std::string& mask) {
  return "Get the debug info of modem_stats, mask = " + mask + "\n" +
         "RIL[norvel_common_qmi_req:1068]: function entry ------------->\n" + client_made +
         exchanged(508) + "RIL[norvel_common_qmi_req:1106]: function exit <-------------\n";
}

TEST_F(command, debug_info_blocks) {
  // version | main | diag | cm | uim, with a different value for each counter
  answer({}, hex("11111111 00000000  03"
                 "01 0000000000000000 0807060504030201 ffffffffffffffff"
                 "01 0a000000 02 0b000000 0c000000 0d000000 03 0e00000001000000 0f00000000000000"
                 "10000000 ffffffff"
                 "04 05 15000000 16000000 17000000 18000000 19000000 1a000000 1b000000 1c000000"
                 "1d000000 1e000000 1f000000 20000000 21000000 22000000"
                 "06 07 23000000 24000000"));
  const std::string all =
      block("main",
            "1 g_modem_stats_feature_enable_status 1 8 g_pk_version_not_support_num 0 "
            "8 g_modem_stats_cmd_ok_count 72623859790382856 "
            "8 g_modem_stats_cmd_fail_count 18446744073709551615",
            26) +
      block("diag",
            "1 init_state 1 4 listener_event_num 10 1 listener_event_state 2 "
            "4 listener_event_call_num 11 4 listener_event_parse_num 12 4 listener_log_num 13 "
            "1 listener_log_state 3 8 listener_log_call_num 4294967310 8 listener_log_parse_num 15 "
            "4 poll_update_call_num 16 4 poll_update_parse_num 4294967295",
            69) +
      block("cm",
            "1 init_state 4 1 listener_state 5 4 listener_call_event_call_num 21 "
            "4 listener_call_event_parse_num 22 4 listener_subs_event_call_num 23 "
            "4 listener_subs_event_parse_num 24 4 listener_ss_event_call_num 25 "
            "4 listener_ss_event_parse_num 26 4 listener_stats_event_call_num 27 "
            "4 listener_stats_event_parse_num 28 4 poll_update_rf_call_num 29 "
            "4 poll_update_rf_parse_num 30 4 poll_update_lte_call_num 31 "
            "4 poll_update_lte_parse_num 32 4 poll_update_nr5g_call_num 33 "
            "4 poll_update_nr5g_parse_num 34",
            127) +
      block("uim",
            "1 init_state 6 1 listener_state 7 4 listener_event_call_num 35 "
            "4 listener_event_parse_num 36",
            137);
  // A block after one that was left out takes that one's bytes.
  const std::string misplaced =
      block("uim",
            "1 init_state 1 1 listener_state 0 4 listener_event_call_num 0 "
            "4 listener_event_parse_num 134217728",
            11);
  EXPECT_EQ(run("7 2 255").output, debug_start("0xff") + "UNPK[size:1], version = 3\n" + all);
  EXPECT_EQ(run("7 2 8 extra").output,
            debug_start("0x8") + "UNPK[size:1], version = 3\n" + misplaced);
}

TEST_F(command, debug_info_verdict) {
  const std::string rule = "===========================================\n";
  const std::string bad = rule + "================= FAIL ====================\n" + rule;
  const std::tuple<bytes, std::string, std::string> rows[] = {
      {hex("03 00 00*8 01 00*7 02 00*7"), "0", "0"},
      {hex("03 01 00*7 80 01 00*7 02 00*7"), "1", "9223372036854775808"},
  };
  for (const auto& [view, enabled, unknown] : rows) {
    answer({}, fill(8) + view);
    EXPECT_EQ(run("7 2 text").output,
              debug_start("0x0") +
                  counters("1 version 3 1 modem_stats_feature_enable_status " + enabled +
                           " 8 version_not_support_num " + unknown +
                           " 8 modem_stats_cmd_ok_count 1 8 modem_stats_cmd_fail_count 2") +
                  bad);
  }
  answer({}, hex("00*4 fbffffff 03"));
  EXPECT_EQ(run("7 2 255").output,
            debug_start("0xff") + "qmi response fail, result = -5, rsp.result = -5\n");
}

// A plain file stands for the device.
TEST_F(command, at_command_is_written_to_the_device_with_a_carriage_return) {
  // One test at a time has the path, of all that run on this machine; the end of the process
  // unlocks.
  ::flock(::open("/tmp/tvk-test-at.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666), LOCK_EX);
  if (::access("/dev", W_OK) != 0 || std::filesystem::exists("/dev/smd8")) {
    GTEST_SKIP() << "/dev/smd8 cannot be created here";
  }
  const std::string longest(100, 'A');
  const struct {
    std::string typed, command, written, outcome;
  } rows[] = {
      {"ATI two", "ATI", "ATI\r\n", "0\nSuccess"},
      {" ATE0", "ATE0", "ATE0\r\n", "0\nSuccess"},
      {longest, longest, longest + "\r\n", "0\nSuccess"},
      // The shell sees the text inside double quotes.
      {"AT$HOME;", "AT$HOME;", "AT/nowhere;\r\n", "0\nSuccess"},
      {"\";echo\t", "\";echo", "", "512\nFail"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.typed);
    const std::ofstream device_file("/dev/smd8");
    auto got = support::run(TVK_PROGRAM, {"8", row.typed}, {{"HOME", "/nowhere"}}).output;
    std::ifstream in("/dev/smd8");
    const std::string written{std::istreambuf_iterator<char>(in), {}};
    std::filesystem::remove("/dev/smd8");
    EXPECT_EQ(written, row.written);
    // Another thread prints these, at any time.
    for (const std::string line : {"The thread to receive data from serial is started\n",
                                   "The at channel is not opened, g_at_serial_fd 0\n"}) {
      ASSERT_TRUE(contains(got, line)) << got;
      got.erase(got.find(line), line.size());
    }
    EXPECT_EQ(got, "At cmd you input: sscanf(1), len (" + std::to_string(row.command.size()) +
                       "), " + row.command +
                       "\nWill create a thread to receive data from serial\nat shell cmd: echo \"" +
                       row.command + "\r\" > /dev/smd8\necho, ret_sys: " + row.outcome +
                       " to send at shell cmd\n");
  }
}

}  // namespace
