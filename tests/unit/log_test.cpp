// Log lines and the allocation that logs. The system log is this program's own: see vsyslog below.
#include <stdlib.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <thread>
#include <utility>

#include "norvel_extend_qmi/norvel_diag_send_response.h"
#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "platform/properties.h"
#include "qcril-common/utilities/Logger.h"
#include "qcril-common/utilities/norvel_ril_log.h"
#include "qcril-common/utilities/orvax_log.h"
#include "qcril-common/utilities/orvax_memory.h"
#include "qcril-common/utilities/qcril_memory_management.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "support/android_log.h"
#include "support/printed.h"
#include "support/temp_dir.h"
#include "support/test.h"

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

using namespace support;

constexpr std::size_t too_much = SIZE_MAX / 2 - 4096;

/// "priority text" of the last line, its source line number masked.
std::string last_logged() {
  return std::to_string(system_log.back().first) + " " + masked(system_log.back().second);
}

TEST(system_log, a_line_has_the_same_message_and_number_in_both_places) {
  testing::internal::CaptureStdout();
  norvel_qmi_result_map(-1);
  std::fflush(stdout);
  const auto printed = testing::internal::GetCapturedStdout();
  ASSERT_EQ(system_log.size(), 1U);
  const auto number = printed.substr(printed.find(':'), printed.find(']') - printed.find(':') + 1);
  EXPECT_PRED2(contains, system_log[0].second, number + " norvel_qmi_result_map: ");
  const std::string message = "norvel_qmi_result_map, old_result -1, new_result -101";
  EXPECT_EQ(masked(printed), "RIL[norvel_qmi_result_map:#]: " + message + "\n");
  EXPECT_EQ(last_logged(), "7 RIL[shell][norvel_extend_nvefs:#] norvel_qmi_result_map: " + message);
  // A unit may be several files: this is norvel_diag_send_response.cpp.
  printed_by([] { norvel_diag_cmd_response_by_callback(nullptr, 1, nullptr); });
  EXPECT_TRUE(last_logged().starts_with("7 RIL[shell][norvel_diag_send:#] "));
}

TEST(system_log, line_of_any_length_is_whole) {
  for (const std::size_t length : {1U, 255U, 256U, 257U, 12288U}) {
    const std::string message = std::string(length - 1, 'x') + "z";
    printed_by([&] { norvel_log({"norvel_diag_send", "work", 17}, "%s", message.c_str()); });
    EXPECT_EQ(last_logged(), "7 RIL[shell][norvel_diag_send:#] work: " + message);
  }
}

TEST(system_log, quiet_flag_silences_standard_output_except_for_errors) {
  quiet_notes = 1;
  EXPECT_EQ(printed_by([] {
              norvel_qmi_result_map(-3);
              norvel_log_error({"norvel_diag_send", "work", 17}, "lost %d of %s", 3, "five");
            }),
            "RIL[work:#]: lost 3 of five\n");
  ASSERT_EQ(system_log.size(), 2U);
  EXPECT_EQ(last_logged(), "3 RIL[shell][norvel_diag_send:#] work: lost 3 of five");
}

TEST(logger, line_of_every_level_reaches_the_android_log_and_long_ones_are_cut) {
  using qti::ril::logger::Logger;
  using qti::ril::logger::LogLevel;
  const android_log log;
  const std::pair<LogLevel, std::string> rows[] = {
      {LogLevel::DEBUG, "D"}, {LogLevel::INFO, "I"}, {LogLevel::WARN, "W"}, {LogLevel::ERROR, "E"}};
  std::string wanted;
  for (const auto& [level, letter] : rows) {
    Logger::log(level, "util", "[%s: %d] gone", "unit", 7);
    wanted += letter + "/util: [unit: 7] gone\n";
  }
  Logger::log(LogLevel::WARN, "util", "%s", std::string(3000, 'x').c_str());
  EXPECT_EQ(log.text(), wanted + "W/util: " + std::string(1023, 'x') + "\n");
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
  const android_log log;
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
  EXPECT_PRED2(contains, log.text(), line);
}

void set_memory_trace(const temp_dir& dir, const char* value) {
  setenv("TVK_PROPERTIES", dir.file("properties").c_str(), 1);
  EXPECT_EQ(property_set("persist.orvax.mem_trace", value), 0);
}

TEST(allocation, of_the_statistics_is_not_traced_when_the_property_is_0) {
  const android_log log;
  const temp_dir dir;
  set_memory_trace(dir, "0");
  void* block = orvax_malloc_adv(100);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(orvax_mem_traced_blocks(), 0U);
  orvax_free_adv(block);
  EXPECT_EQ(orvax_malloc_adv(too_much), nullptr);
  EXPECT_EQ(log.text(), "E/ORVAX: orvax_malloc_adv: Fail to allocate memory\n");
}

TEST(allocation, of_the_statistics_is_on_record_until_freed) {
  const temp_dir dir;
  set_memory_trace(dir, "1");
  std::array<void*, 4> held{};
  std::vector<std::thread> threads;
  for (auto& mine : held) {
    threads.emplace_back([&mine] {
      for (int i = 0; i < 50; ++i) orvax_free_adv(std::exchange(mine, orvax_malloc_adv(16)));
    });
  }
  for (auto& each : threads) each.join();
  EXPECT_EQ(orvax_mem_traced_blocks(), 4U);
  for (void* each : held) orvax_free_adv(each);
  EXPECT_EQ(orvax_malloc_adv(too_much), nullptr);
  EXPECT_EQ(orvax_mem_traced_blocks(), 0U);
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
