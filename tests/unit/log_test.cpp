// Log lines and the allocation that logs. The system log is this program's own: see vsyslog below.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "norvel_extend_qmi/norvel_diag_send.h"
#include "norvel_extend_qmi/norvel_diag_send_connection.h"
#include "norvel_extend_qmi/norvel_diag_send_response.h"
#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "norvel_extend_qmi/norvel_extend_cmn_text.h"
#include "norvel_extend_qmi/norvel_extend_cmn_uim.h"
#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "platform/properties.h"
#include "qcril-common/utilities/Logger.h"
#include "qcril-common/utilities/norvel_ril_log.h"
#include "qcril-common/utilities/orvax_log.h"
#include "qcril-common/utilities/orvax_memory.h"
#include "qcril-common/utilities/qcril_memory_management.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "support/printed.h"
#include "support/temp_dir.h"
#include "tvk/norvel_qmi_test_cmn.h"

namespace {

std::vector<std::pair<int, std::string>> system_log;

}  // namespace

// Stands before the C library's. The checked form is what optimised builds call.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier,readability-*): names of the C library and the
// sanitizers.
void vsyslog(int priority, const char* format, va_list args) {
  std::array<char, 20000> text{};
  std::vsnprintf(text.data(), text.size(), format, args);
  system_log.emplace_back(priority, text.data());
}
__attribute__((format(printf, 3, 0))) void __vsyslog_chk(int priority, int /*flag*/,
                                                         const char* format, va_list args) {
  vsyslog(priority, format, args);
}
// A request for too much memory is to fail, not to end the process.
const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}
const char* __tsan_default_options() {
  return "allocator_may_return_null=1";
}
// NOLINTEND(bugprone-reserved-identifier,readability-*)
}

namespace {

using support::printed_by;
using namespace std::string_literals;

constexpr std::size_t too_much = SIZE_MAX / 2 - 4096;

/// "priority text" of each line since the last call, source line numbers masked.
std::vector<std::string> logged() {
  std::vector<std::string> lines;
  for (const auto& [priority, text] : std::exchange(system_log, {})) {
    lines.push_back(std::to_string(priority) + " " + support::masked(text));
  }
  return lines;
}

using texts = std::vector<std::string>;

/// The Android log in a file of the test's own; made before the first line is logged.
class android_log_file {
 public:
  android_log_file() { setenv("TVK_ANDROID_LOG", path().c_str(), 1); }

  [[nodiscard]] std::string text() const {
    std::ifstream in(path());
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  [[nodiscard]] std::string path() const { return dir_.file("log"); }
  support::temp_dir dir_;
};

/// Property files of the test's own.
void use_properties(const support::temp_dir& dir) {
  setenv("TVK_PROPERTIES", dir.file("properties").c_str(), 1);
}

TEST(system_log, a_line_has_the_same_message_and_number_in_both_places) {
  testing::internal::CaptureStdout();
  norvel_qmi_result_map(-1);
  std::fflush(stdout);
  const auto printed = testing::internal::GetCapturedStdout();
  ASSERT_EQ(system_log.size(), 1U);
  // Behind "RIL[function:" and "RIL[shell][source:".
  const auto number = [](const std::string& text) {
    return std::stoi(text.substr(text.find(':') + 1));
  };
  EXPECT_EQ(number(printed), number(system_log[0].second));
  const std::string message = "norvel_qmi_result_map, old_result -1, new_result -101";
  EXPECT_EQ(support::masked(printed), "RIL[norvel_qmi_result_map:#]: " + message + "\n");
  EXPECT_EQ(logged(),
            (texts{"7 RIL[shell][norvel_extend_nvefs:#] norvel_qmi_result_map: " + message}));
}

/// The files of a unit, line by line.
std::vector<texts> files_of(const std::string& unit) {
  std::vector<texts> files;
  for (const auto* folder : {"norvel_extend_qmi", "tvk"}) {
    for (const auto& each : std::filesystem::directory_iterator(TVK_SOURCE_DIR + ("/"s + folder))) {
      if (!each.path().filename().string().starts_with(unit)) continue;
      std::ifstream in(each.path());
      texts& lines = files.emplace_back();
      for (std::string line; std::getline(in, line);) lines.push_back(line);
    }
  }
  return files;
}

/// The statement that a line is of, which compilers number by its first line or its last.
std::string statement_at(const texts& lines, std::size_t number) {
  const auto ends = [](std::string line) {
    line.erase(std::min(line.find("  //"), line.size()));
    return line.empty() || std::string(";{}").find(line.back()) != std::string::npos;
  };
  if (number > lines.size()) return "";
  std::size_t first = number - 1;
  while (first > 0 && !ends(lines[first - 1])) --first;
  std::string statement;
  for (std::size_t at = first; at < lines.size(); ++at) {
    statement += lines[at];
    if (ends(lines[at])) break;
  }
  return statement;
}

/// What the statement says of which the log has this message.
std::string text_in_source(const std::string& message) {
  if (message == "function entry ------------->") return "NORVEL_LOG_ENTRY";
  if (message == "function exit <-------------") return "NORVEL_LOG_EXIT";
  return '"' + message.substr(0, message.find_first_of("0123456789-"));
}

// Source and line of every log line lead to the statement that wrote it, in one file of the unit.
TEST(system_log, line_is_found_where_it_says) {
  setenv("TVK_MODEM", "bogus", 1);
  setenv("TVK_DIAG", "unix:/nowhere/diag.sock", 1);
  unsigned char data[600] = {};
  unsigned int length = 0;
  char program[] = "tvk";
  char group[] = "5";
  char esim[] = "10";
  char none[] = "0";
  char* arguments[] = {program, group, esim, none, group, nullptr};
  printed_by([&] {
    norvel_efs_read(2, "/a", 2, data, &length);
    norvel_efs_read(0, nullptr, 2, data, &length);
    norvel_efs_read(0, "/a", 72, data, &length);
    norvel_efs_read(0, "/a", 2, nullptr, &length);
    norvel_efs_read(0, "/a", 2, data, nullptr);
    norvel_efs_read(0, "/a", 2, data, &length);
    norvel_efs_write(0, "/a", 2, nullptr, 1);
    norvel_efs_write(0, "/a", 2, data, 0);
    norvel_efs_delete(2, "/a", 2);
    norvel_nv_write_ex(0, 550, data, 0);
    norvel_nv_delete(0, 9999);
    norvel_print_data_with_hex(nullptr, 1);
    norvel_send_common_qmi_msg(31, 4, nullptr, data);
    norvel_send_common_qmi_msg(31, 0, nullptr, nullptr);
    norvel_uim_request_eid(2, data);
    norvel_diag_cmd_send_with_result_by_callback_mode(data, 1, data, nullptr, 1);
    norvel_diag_cmd_send_without_result_by_dci_mode_thread_proc(nullptr);
    norvel_diag_init_with_result();
    norvel_diag_cmd_response_by_callback(nullptr, 1, nullptr);
    norvel_diag_cmd_response_by_dci_log_stream(data, 1);
    norvel_cmn_esim_test(5, arguments);
    norvel_cmn_test_get_sar_dsi();
  });
  std::set<std::string> units;
  for (const auto& [priority, text] : system_log) {
    static const std::regex form(R"(RIL\[shell\]\[(\w+):(\d+)\] (\w+): ([^\n]*)\n?)");
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(text, parts, form)) << text;
    const auto wanted = text_in_source(parts[4]);
    int found = 0;
    for (const texts& lines : files_of(parts[1])) {
      const auto number = static_cast<std::size_t>(std::stoi(parts[2]));
      if (statement_at(lines, number).find(wanted) != std::string::npos) ++found;
    }
    EXPECT_EQ(found, 1) << text << " by " << wanted;
    units.insert(parts[1]);
  }
  EXPECT_GT(system_log.size(), 60U);
  EXPECT_EQ(units, (std::set<std::string>{"norvel_diag_send", "norvel_extend_cmn",
                                          "norvel_extend_nvefs", "norvel_qmi_test_cmn"}));
}

TEST(system_log, long_line_is_whole) {
  std::string bytes(4096, '\x11');
  std::string wanted = "] norvel_print_data_with_hex: data hex show, len(4096), data: 11";
  for (int i = 1; i < 4096; ++i) wanted += " 11";
  printed_by(
      [&] { norvel_print_data_with_hex(reinterpret_cast<unsigned char*>(bytes.data()), 4096); });
  ASSERT_EQ(system_log.size(), 1U);
  EXPECT_TRUE(system_log[0].second.ends_with(wanted));
}

TEST(system_log, quiet_flag_silences_standard_output_only) {
  quiet_notes = 1;
  EXPECT_EQ(printed_by([] {
              unsigned int len = 1;
              norvel_qmi_result_map(-3);
              norvel_print_data_with_hex(nullptr, 1);
              norvel_efs_read(2, "/a", 2, nullptr, &len);
            }),
            "");
  EXPECT_EQ(logged().size(), 6U);
}

TEST(system_log, error_line_is_printed_even_when_quiet) {
  quiet_notes = 1;
  EXPECT_EQ(printed_by([] {
              norvel_log_error({"norvel_diag_send", "norvel_work", 17}, "lost %d of %s", 3, "five");
            }),
            "RIL[norvel_work:#]: lost 3 of five\n");
  ASSERT_EQ(system_log.size(), 1U);
  EXPECT_EQ(system_log[0].first, LOG_ERR);
  EXPECT_EQ(system_log[0].second, "RIL[shell][norvel_diag_send:17] norvel_work: lost 3 of five");
}

TEST(logger, line_of_every_level_reaches_the_android_log_and_long_ones_are_cut_safely) {
  using qti::ril::logger::Logger;
  using qti::ril::logger::LogLevel;
  const android_log_file log;
  Logger::log(LogLevel::ERROR, "util", "[%s: %d] gone", "unit", 7);
  const std::string long_text(3000, 'x');
  Logger::log(LogLevel::WARN, "util", "%s", long_text.c_str());
  const auto text = log.text();
  EXPECT_NE(text.find("util: [unit: 7] gone\n"), std::string::npos) << text;
  EXPECT_NE(text.find("util: " + long_text.substr(0, 900)), std::string::npos);
  EXPECT_EQ(text.back(), '\n');
}

TEST(allocation, is_zero_filled_and_null_may_be_freed) {
  // Dirty blocks first, so that a reused one would show.
  for (int round = 0; round < 8; ++round) {
    auto* block = static_cast<unsigned char*>(qcril_malloc_adv(4000, "maker", 1));
    ASSERT_NE(block, nullptr);
    for (int i = 0; i < 4000; ++i) ASSERT_EQ(block[i], 0) << i;
    std::memset(block, 0xA5, 4000);
    qcril_free_adv(block);
  }
  qcril_free_adv(nullptr);
  orvax_free_adv(nullptr);
}

TEST(allocation, failure_is_logged_with_thread_and_process) {
  const android_log_file log;
  void* block = &system_log;
  long thread_id = 0;
  std::thread([&] {
    pthread_setname_np(pthread_self(), "collector");
    thread_id = gettid();
    block = qcril_malloc_adv(too_much, "decode_cell", 77);
  }).join();
  EXPECT_EQ(block, nullptr);
  const auto line = "util: [qcril_memory_management: 77] [collector(" + std::to_string(getpid()) +
                    "," + std::to_string(thread_id) + ")] decode_cell: Fail to allocate memory\n";
  EXPECT_NE(log.text().find(line), std::string::npos) << log.text() << "wanted: " << line;
}

TEST(allocation, of_the_statistics_tells_once_that_the_trace_property_is_missing) {
  const android_log_file log;
  const support::temp_dir properties;
  use_properties(properties);
  void* block = orvax_malloc_adv(100);
  EXPECT_NE(block, nullptr);
  orvax_free_adv(block);
  EXPECT_EQ(orvax_malloc_adv(too_much), nullptr);
  EXPECT_EQ(log.text(),
            "D/ORVAX: orvax_mem_init: ORVAX_MEM_TRACE_PROP not exist\n"
            "E/ORVAX: orvax_malloc_adv: Fail to allocate memory\n");
  EXPECT_EQ(orvax_mem_traced_blocks(), 0U);
}

TEST(allocation, of_the_statistics_is_on_record_until_freed) {
  const android_log_file log;
  const support::temp_dir properties;
  use_properties(properties);
  ASSERT_EQ(property_set("persist.orvax.mem_trace", "1"), 0);
  constexpr std::size_t threads = 4;
  constexpr std::size_t blocks = 50;
  std::array<std::array<void*, blocks>, threads> held{};
  const auto in_threads = [&](auto work) {
    std::vector<std::thread> running;
    running.reserve(threads);
    for (auto& mine : held) {
      running.emplace_back([&mine, work] {
        for (auto& each : mine) work(each);
      });
    }
    for (auto& each : running) each.join();
  };
  in_threads([](void*& each) { each = orvax_malloc_adv(16); });
  EXPECT_EQ(orvax_mem_traced_blocks(), threads * blocks);
  orvax_free_adv(held[2][7]);
  held[2][7] = nullptr;
  orvax_free_adv(nullptr);
  EXPECT_EQ(orvax_mem_traced_blocks(), threads * blocks - 1);
  in_threads([](void*& each) { orvax_free_adv(each); });
  EXPECT_EQ(orvax_mem_traced_blocks(), 0U);
  EXPECT_EQ(orvax_malloc_adv(too_much), nullptr);
  EXPECT_EQ(orvax_mem_traced_blocks(), 0U);
  EXPECT_EQ(log.text(), "E/ORVAX: orvax_malloc_adv: Fail to allocate memory\n");
}

TEST(statistics_log, texts_are_cut_at_their_room) {
  const std::string long_text(600, 'y');
  std::array<char, 700> room{};
  room.fill('#');
  EXPECT_EQ(orvax_log_buf(room.data(), "%s", long_text.c_str()), 600);
  EXPECT_EQ(std::string(room.data()), std::string(101, 'y'));
  EXPECT_EQ(room[102], '#');
  EXPECT_EQ(orvax_log_buf(room.data(), "%d-%s", 4, "x"), 3);
  EXPECT_STREQ(room.data(), "4-x");

  room.fill('#');
  orvax_log_format_log_msg(room.data(), "%s", long_text.c_str());
  EXPECT_EQ(std::string(room.data()), std::string(511, 'y'));
  EXPECT_EQ(room[512], '#');
}

}  // namespace
