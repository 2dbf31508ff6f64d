// What each command sends, byte by byte, and what it makes of answers no simulated modem gives.
//
// A request of the extension service: its type, then 512 bytes. Type 2 is NV and EFS, type 4 the
// common message: kind, 0, number, length, data.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "support/at_device.h"
#include "support/hand_modem.h"
#include "support/printed.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace {

using support::bytes;
using support::client_made;
using support::datagram;
using support::fill;
using support::hand_modem;
using support::hex;
using support::qmi_response;
using support::operator+;

const std::string exchanged =
    "norvel_extend_qmi_send_sync resp_len:508\n"
    "norvel_extend_qmi_handle_req_cb result:0\n";

bytes padded(bytes data, std::size_t size = 512) {
  data.resize(size);
  return data;
}

std::vector<std::string> words(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> out;
  for (std::string word; in >> word;) out.push_back(word);
  return out;
}

std::string repeated(const std::string& text, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) out += text;
  return out;
}

class command : public testing::Test {
 protected:
  command() { answer({}, {}); }

  /// NV and EFS requests get `nvefs`, common messages `common`, zeros behind.
  void answer(const bytes& nvefs, const bytes& common) {
    modem_.on_request([nvefs, common](const datagram& request) {
      const bool is_common = request.data.at(10) == 4;
      const auto tlvs =
          hex("01 0400 00000000") + (is_common ? hex("02 0400 fc010000 10 0002") + padded(common)
                                               : hex("02 0400 bc010000 10 0002") + padded(nvefs));
      return std::vector<datagram>{{request.node, request.port, qmi_response(request.data, tlvs)}};
    });
  }

  support::process_result run(const std::string& line) {
    return support::run(TVK_PROGRAM, words(line),
                        {{"TVK_MODEM", modem_.endpoint()}, {"TVK_PROPERTIES", properties()}});
  }

  [[nodiscard]] std::string properties() const { return dir_.file("properties"); }

  /// "type: 512 bytes" of what was sent since the last call.
  std::vector<std::pair<unsigned, bytes>> sent() {
    std::vector<std::pair<unsigned, bytes>> out;
    const auto requests = modem_.requests();
    for (; seen_ < requests.size(); ++seen_) {
      const auto& data = requests[seen_].data;
      out.emplace_back(data.at(10), bytes(data.begin() + 24, data.end()));
    }
    return out;
  }

  hand_modem modem_;
  support::temp_dir dir_;
  std::size_t seen_ = 0;
};

using exchanges = std::vector<std::pair<unsigned, bytes>>;

TEST_F(command, request_bytes) {
  answer(fill(4) + hex("01000000 01000000 00000000 00000000 55"), {});
  std::string sixty;
  for (int i = 1; i <= 60; ++i) sixty += " " + std::to_string(i);
  bytes fifty;
  for (std::uint8_t i = 1; i <= 50; ++i) fifty = fifty + bytes{i, 0, 0, 0};
  const bytes gpio_path =
      hex("2f6e762f6974656d5f66696c65732f6d6f64656d2f6e6f7276656c2f"
          "72665f616e745f706f72745f636f6e666967");
  const bytes tx_path =
      hex("2f6e762f6974656d5f66696c65732f6d6f64656d2f616e74656e6e612f"
          "616e745f74785f636f6e666967");
  const struct {
    std::string line;
    unsigned type;
    bytes payload;
  } rows[] = {
      {"3 0 1 -1 0x10 70000 x", 4,
       hex("00000000 00000000 05000000  01000000 ffffffff 00000000 70110100 00000000")},
      {"3 0" + sixty, 4, hex("00000000 00000000 3c000000") + fifty},
      {"3 3 1 4 0x10", 4, hex("01000000 00000000 01000000 04000000 10000000 00000000")},
      {"3 3 -1 70000 4294967298", 4, hex("01000000 00000000 ffffffff 70110100 02000000 01000000")},
      {"3 1", 2, hex("04 00 0000 2e") + gpio_path},
      {"3 2", 2, hex("06 00 0000 2e") + gpio_path},
      {"3 4", 2, hex("04 00 0000 2a") + tx_path},
      {"3 5", 2, hex("06 00 0000 2a") + tx_path},
      {"4 1 7 550", 2, hex("01 01 2602")},
      {"4 2 1 550 1 2 0x10", 2, padded(hex("02 01 2602"), 76) + hex("03000000 00*8 010200")},
      {"4 2 0 1 256 -1 300x", 2, padded(hex("02 00 0100"), 76) + hex("03000000 00*8 00ff2c")},
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
      {"5 9 0", 4, hex("02000000 00000000 50000000 04000000 00000000")},
      {"5 9 2 -1 70000 0", 4,
       hex("02000000 00000000 50000000 10000000 02000000 ffffffff 70110100 00000000")},
      {"5 7", 4, hex("02000000 00000000 23000000 00000000")},
      {"7 2 255", 4, hex("14000000")},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line.substr(0, 40));
    const auto got = run(row.line);
    EXPECT_EQ(got.exit_status, 0);
    EXPECT_EQ(got.errors, "");
    EXPECT_EQ(sent(), (exchanges{{row.type, padded(row.payload)}})) << got.output;
  }
}

TEST_F(command, misuse_sends_nothing) {
  for (const char* line :
       {"3 1 x",        "3 2 x",           "3 3 1 4",    "3 3 1 4 5 6", "3 4 x",
        "3 5 x",        "4 1 0",           "4 1 0 1 2",  "4 1 0 7233",  "4 2 0 5",
        "4 2 0 7233 1", "4 3 0",           "4 3 0 7233", "4 4 0",       "4 4 2 /a",
        "4 5 0 /a",     "4 5 2 /a 1",      "4 6 0",      "4 6 2 /a",    "5 1 x",
        "5 2",          "5 2 1 1",         "5 3 1 0",    "5 4 x",       "5 9",
        "5 9 1 10 10",  "5 9 1 10 10 5 6", "7 2"}) {
    SCOPED_TRACE(line);
    const auto got = run(line);
    EXPECT_EQ(got.exit_status, 0);
    EXPECT_EQ(sent(), exchanges{}) << got.output;
  }
}

TEST_F(command, restart_is_one_message) {
  std::ofstream(properties()) << "persist.vendor.ssr.restart_level=ALL_ENABLE\n";
  const auto got = run("5 5");
  EXPECT_EQ(sent(), (exchanges{{4, padded(hex("02000000 00000000 1f000000 04000000 00100000"))}}))
      << got.output;
}

TEST_F(command, full_dump_counts_the_switch_before_it_asks) {
  const bytes path =
      hex("2f6e762f6974656d5f66696c65732f6d6f64656d2f6e6f7276656c2f"
          "7373725f7570646174655f636f756e74");
  const auto get = padded(hex("04 00 0000 2c") + path);
  const auto put = padded(hex("05 00 0000 2c") + path, 76) + hex("04000000 04000000 00000000");
  const auto dump = padded(hex("02000000 00000000 1f000000 04000000 00200000"));
  const struct {
    const char* level;
    const char* result_and_count;
    exchanges sent;
    int signal;
  } rows[] = {
      {"ALL_ENABLE",
       "00000000 ff000000",
       {{2, get}, {2, padded(put + hex("00010000"))}, {4, dump}},
       0},
      {"ALL_ENABLE",
       "00000000 feffffff",
       {{2, get}, {2, padded(put + hex("ffffffff"))}, {4, dump}},
       0},
      // A failed read counts as 0, whatever the answer holds. The write fails too: nobody minds.
      {"anything",
       "02000000 ff000000",
       {{2, get}, {2, padded(put + hex("01000000"))}, {4, dump}},
       0},
      {"ALL_ENABLE", "00000000 ffffffff", {{2, get}}, SIGABRT},
      {"ALL_DISABLE", "00000000 00000000", {{4, dump}}, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.result_and_count);
    std::ofstream(properties()) << "persist.vendor.ssr.restart_level=" << row.level << "\n";
    answer(fill(4) + hex("04000000 04000000 00*4") + hex(row.result_and_count), {});
    const auto got = run("5 6");
    EXPECT_EQ(got.signal, row.signal);
    EXPECT_EQ(got.output.find("error_code"), std::string::npos) << got.output;
    EXPECT_EQ(sent(), row.sent) << got.output;
  }
}

TEST_F(command, printed_answer_of_a_common_message) {
  const auto start =
      "norvel_cmn_card_status_query\nparam(cnt: 0):\nnorvel_cmn_cmd_send, t: 39, l: 0\n" +
      client_made + exchanged;
  const struct {
    bytes words;
    std::string output;
  } rows[] = {
      // The data runs over its length.
      {hex("00*8 0a0b0c0d 06000000 ff"), "0\n\ndata len(6)\ndata: 0A 0B 0C 0D 06 00\n"},
      {hex("00*8 c3c3c3c3 f4010000 c3*492"),
       "0\n\ndata len(500)\ndata: C3 C3 C3 C3 F4 01 00 00" + repeated(" C3", 492) + "\n"},
      // The exchange itself went well: no error is shown.
      {hex("00*4 ffffffff 01000000 04000000"), "-1\nrsp.result fail\n"},
  };
  for (const auto& row : rows) {
    answer({}, row.words);
    EXPECT_EQ(run("5 1").output, start + "result = 0, rsp.result = " + row.output);
  }
}

TEST_F(command, answer_above_500_bytes_aborts_behind_its_length) {
  answer({}, hex("00*12 f5010000"));
  const auto got = run("5 4");
  EXPECT_EQ(got.signal, SIGABRT);
  EXPECT_NE(got.output.find("result = 0, rsp.result = 0\n\ndata len(501)\ndata:"),
            std::string::npos)
      << got.output;
}

TEST_F(command, item_and_file_data_are_cut_to_365_bytes) {
  const auto data = hex("00 0f a0") + fill(421, 0x7B);
  answer(hex("00*4 6e010000 a8010000 00*4 00*4") + data, {});
  for (const char* line : {"4 1 0 5", "4 4 0 /a"}) {
    const auto got = run(line).output;
    EXPECT_TRUE(got.ends_with("\ndata len(365)\ndata:  00 0F A0" + repeated(" 7B", 362) + "\n"))
        << got;
  }
}

/// "size name value" of each counter, as the program prints a block.
std::string block(const std::string& name, const std::string& counters, int end) {
  std::string text = "-------- stats " + name + " info start --------\n";
  std::istringstream in(counters);
  for (std::string size, counter, value; in >> size >> counter >> value;) {
    text += "UNPK[size:" + size + "], " + counter + " = " + value + "\n";
  }
  return text + "-------- stats " + name + " info end, cnt(" + std::to_string(end) + ") --------\n";
}

// version 3 | main | diag | cm | uim, every counter with a value of its own
const bytes debug_answer =
    hex("11111111 00000000  03"
        "01 0000000000000000 0807060504030201 ffffffffffffffff"
        "01 0a000000 02 0b000000 0c000000 0d000000 03 0e00000001000000 0f00000000000000"
        "10000000 ffffffff"
        "04 05 15000000 16000000 17000000 18000000 19000000 1a000000 1b000000 1c000000 1d000000"
        "1e000000 1f000000 20000000 21000000 22000000"
        "06 07 23000000 24000000");
const std::string main_block =
    block("main",
          "1 g_modem_stats_feature_enable_status 1 8 g_pk_version_not_support_num 0 "
          "8 g_modem_stats_cmd_ok_count 72623859790382856 "
          "8 g_modem_stats_cmd_fail_count 18446744073709551615",
          26);
const std::string other_blocks =
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
// The names over the bytes of the main block and the start of the diag block.
const std::string misplaced_diag_block =
    block("diag",
          "1 init_state 1 4 listener_event_num 0 1 listener_event_state 0 "
          "4 listener_event_call_num 134217728 4 listener_event_parse_num 67438087 "
          "4 listener_log_num 4278256131 1 listener_log_state 255 "
          "8 listener_log_call_num 721138890332700671 8 listener_log_parse_num 47278194688 "
          "4 poll_update_call_num 12 4 poll_update_parse_num 13",
          44);
const std::string misplaced_uim_block =
    block("uim",
          "1 init_state 1 1 listener_state 0 4 listener_event_call_num 0 "
          "4 listener_event_parse_num 134217728",
          11);

std::string debug_start(const std::string& mask) {
  return "Get the debug info of modem_stats, mask = " + mask +
         "\n"
         "RIL[norvel_common_qmi_req:1068]: function entry ------------->\n" +
         client_made + exchanged +
         "RIL[norvel_common_qmi_req:1106]: function exit <-------------\n";
}

TEST_F(command, debug_info_blocks) {
  answer({}, debug_answer);
  const std::string version = "UNPK[size:1], version = 3\n";
  const struct {
    const char* line;
    std::string mask;
    std::string blocks;
  } rows[] = {
      {"7 2 255", "0xff", main_block + other_blocks},
      {"7 2 -1", "0xffffffff", main_block + other_blocks},
      {"7 2 1", "0x1", main_block},
      {"7 2 2", "0x2", misplaced_diag_block},
      {"7 2 8 extra", "0x8", misplaced_uim_block},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    const auto got = run(row.line);
    EXPECT_EQ(got.output, debug_start(row.mask) + version + row.blocks);
    EXPECT_EQ(got.errors, "");
    EXPECT_EQ(got.exit_status, 0);
  }
}

TEST_F(command, debug_info_verdict) {
  const std::string rule = "===========================================\n";
  const std::string good = rule + "================ SUCCES ===================\n" + rule;
  const std::string bad = rule + "================= FAIL ====================\n" + rule;
  const struct {
    bytes view;
    std::string fields;
    const std::string& verdict;
  } rows[] = {
      {hex("03 01 00*8 0807060504030201 ffffffffffffffff"),
       "3, 1, 0, 72623859790382856, 18446744073709551615", good},
      {hex("03 00 00*8 01 00*7 00*8"), "3, 0, 0, 1, 0", bad},
      {hex("03 01 00*7 80 00*8 00*8"), "3, 1, 9223372036854775808, 0, 0", bad},
  };
  const char* names[] = {"1], version", "1], modem_stats_feature_enable_status",
                         "8], version_not_support_num", "8], modem_stats_cmd_ok_count",
                         "8], modem_stats_cmd_fail_count"};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.fields);
    answer({}, fill(8) + row.view);
    auto wanted = debug_start("0x0");
    std::istringstream fields(row.fields);
    for (const char* name : names) {
      std::string value;
      std::getline(fields >> std::ws, value, ',');
      wanted.append("UNPK[size:").append(name).append(" = ").append(value).append("\n");
    }
    EXPECT_EQ(run("7 2 0").output, wanted + row.verdict);
    EXPECT_EQ(run("7 2 text").output, wanted + row.verdict);
  }
}

TEST_F(command, debug_info_that_the_modem_refuses_ends_without_a_note) {
  answer({}, hex("00*4 fbffffff 03"));
  EXPECT_EQ(run("7 2 255").output,
            debug_start("0xff") + "qmi response fail, result = -5, rsp.result = -5\n");
}

TEST_F(command, sar_state_is_asked_for_with_an_empty_request) {
  const std::string function = "RIL[norvel_get_sar_dsi:#]: ";
  const struct {
    const char* name;
    bytes tlvs;
    std::string message;
    int value;
  } rows[] = {
      {"state behind 31 bits", hex("02 0400 00000000  10 0400 feffffff"),
       "dsi vailid = 1 , dsi value = -2", -2},
      {"no state", hex("02 0400 00000000"), "dsi vailid = 0 , dsi value = 0", 0},
      {"no result", hex("10 0400 14000000"),
       "qmi_client_send_msg_sync failed, qmi_client_error = -46", -1},
      {"state of 3 bytes", hex("02 0400 00000000  10 0300 140000"),
       "qmi_client_send_msg_sync failed, qmi_client_error = -45", -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    hand_modem sar({{.service = 0x11, .instance_word = 0x0101, .port = 0x111}});
    sar.answer_with_tlvs(row.tlvs);
    const auto got = support::run(TVK_PROGRAM, {"5", "8"}, {{"TVK_MODEM", sar.endpoint()}});
    EXPECT_EQ(support::masked(got.output),
              function + "function entry ------------->\n" + function + row.message + "\n" +
                  function + "function exit <-------------\nSAR DSI: " + std::to_string(row.value) +
                  "\n");
    ASSERT_EQ(sar.requests().size(), 1U);
    EXPECT_EQ(sar.requests()[0].port, 0x111U);
    EXPECT_EQ(sar.requests()[0].data, hex("00 0100 0200 0000"));
  }
}

// A plain file stands for the device.
TEST_F(command, at_command_is_written_to_the_device_with_a_carriage_return) {
  const support::at_device device;
  if (!device.usable()) GTEST_SKIP() << "/dev/smd8 cannot be made here";
  const struct {
    const char* text;
    const char* written;
  } rows[] = {
      {"ATI two", "ATI\r\n"},
      // The shell sees the text inside double quotes.
      {"AT$HOME;", "AT/nowhere;\r\n"},
      {"\";echo\t", nullptr},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const std::ofstream device_file("/dev/smd8");
    const auto got = support::run(TVK_PROGRAM, {"8", row.text}, {{"HOME", "/nowhere"}});
    std::ifstream in("/dev/smd8");
    const std::string written{std::istreambuf_iterator<char>(in), {}};
    std::filesystem::remove("/dev/smd8");
    if (row.written != nullptr) {
      EXPECT_EQ(written, row.written);
    }
    EXPECT_FALSE(got.timed_out);
    EXPECT_EQ(got.exit_status, 0);
  }
}

TEST_F(command, at_device_that_cannot_be_written_is_told) {
  const support::at_device device;
  if (!device.usable()) GTEST_SKIP() << "/dev/smd8 cannot be made here";
  std::filesystem::create_directory("/dev/smd8");
  const auto got = run("8 ATI");
  std::filesystem::remove("/dev/smd8");
  // The shell's exit status 1 or 2, as system() returns it.
  EXPECT_TRUE(
      got.output.find("echo, ret_sys: 256\nFail to send at shell cmd\n") != std::string::npos ||
      got.output.find("echo, ret_sys: 512\nFail to send at shell cmd\n") != std::string::npos)
      << got.output;
  EXPECT_EQ(got.exit_status, 0);
}

}  // namespace
