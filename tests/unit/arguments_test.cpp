// Numbers on the command line; bytes, masks and counters as text.
#include "tvk/arguments.h"

#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>
#include <string>

#include "norvel_extend_qmi/norvel_extend_cmn_text.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "support/bytes.h"
#include "support/printed.h"
#include "tvk/modem_stats_debug_info.h"

namespace {

using namespace support;

int string_to_int(std::string text) {
  return norvel_string_to_int(text.data());
}

int hex_string_to_int(std::string text) {
  return norvel_hex_string_to_int(text.data());
}

TEST(arguments, text_denotes_a_number) {
  const std::pair<const char*, int> rows[] = {{"0x1A", 26},
                                              {"0X1a", 26},
                                              {"1A", 1},
                                              {"x1A", 0},
                                              {"", 0},
                                              {"0x", 0},
                                              {"0xZZ", 0},
                                              {"0x 1", 1},
                                              {"0x-1", 1},
                                              {"0x0x1", 1},
                                              {"0xabcdef", 0xABCDEF},
                                              {"0xABCDEF", 0xABCDEF},
                                              {" 12", 12},
                                              {"-12", -12},
                                              {"+12", 12},
                                              {"007", 7},
                                              {"-0x10", 0},
                                              {"0xG1@1`1", 0x010101},
                                              {"2147483647", INT_MAX},
                                              {"-2147483648", INT_MIN},
                                              {"0x000000007FFFFFFF", INT_MAX}};
  for (const auto& [text, value] : rows) EXPECT_EQ(string_to_int(text), value) << text;
  EXPECT_EQ(hex_string_to_int("0x10"), 16);
  EXPECT_EQ(hex_string_to_int(std::string(48, '0') + "ff"), 255);
}

TEST(arguments, null_is_0_and_reported_unless_quiet) {
  for (const auto quiet : std::initializer_list<unsigned char>{0, 1, 2}) {
    quiet_notes = quiet;
    for (auto* convert : {norvel_string_to_int, norvel_hex_string_to_int}) {
      EXPECT_EQ(printed_by([&] { EXPECT_EQ(convert(nullptr), 0); }),
                quiet == 1 ? "" : "\ninput is null\n");
    }
  }
}

TEST(arguments_death, hexadecimal_out_of_bounds_aborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const std::string& text :
       {std::string("80000000"), std::string("7FFFFFFF1"), std::string(51, '0')}) {
    EXPECT_EXIT(hex_string_to_int(text), testing::KilledBySignal(SIGABRT), "") << text;
  }
}

TEST(bytes_as_text, two_lowercase_digits_each_and_no_terminator) {
  unsigned char in[] = {0xAB, 0x01, 0x00, 0xFF, 0x9C};
  const auto written = [](unsigned char* data, int len) {
    std::string out(12, '#');
    norvel_byte_to_hex(data, len, reinterpret_cast<unsigned char*>(out.data()));
    return out;
  };
  EXPECT_EQ(written(in, 5), "ab0100ff9c##");
  EXPECT_EQ(written(in, 1), "ab##########");
  EXPECT_EQ(written(in, 0), "############");
  EXPECT_EQ(written(in, -1), "############");
  EXPECT_EQ(written(nullptr, 2), "############");
}

TEST(bytes_as_text, buffer_is_printed_as_a_line) {
  auto data = hex("00 0a ff c3*4094");
  std::string longest = "data hex show, len(4096), data: 00 0A FF";
  for (int i = 3; i < 4096; ++i) longest += " C3";
  const struct {
    unsigned char* data;
    unsigned int len;
    std::string message;
  } rows[] = {
      {data.data(), 3, "data hex show, len(3), data: 00 0A FF"},
      {data.data(), 4096, longest},
      {data.data(), 4097, "print_data_with_hex, invalid data len(4097)"},
      {data.data(), 0, "print_data_with_hex, invalid data len(0)"},
      {nullptr, 0, "print_data_with_hex, data is null"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(printed_by([&] { norvel_print_data_with_hex(row.data, row.len); }),
              log_lines("norvel_print_data_with_hex", {row.message}));
  }
}

TEST(diag_mask, lowest_bit_names_the_processor) {
  const std::pair<unsigned int, const char*> rows[] = {
      {1, " APSS"},  {2, " MPSS"}, {4, " LPASS"}, {8, " WCNSS"}, {16, " SENSORS"},
      {32, " WDSP"}, {6, " MPSS"}, {63, " APSS"}, {0, ""},       {0xFFFFFFC0, ""}};
  for (const auto& [mask, name] : rows) EXPECT_STREQ(norvel_print_diag_mask_name(mask), name);
}

TEST(debug_info, null_is_reported) {
  for (auto* const unpack : {norvel_modem_stats_info_unpk, norvel_modem_stats_diag_info_unpk,
                             norvel_modem_stats_cm_info_unpk, norvel_modem_stats_uim_info_unpk}) {
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(unpack(nullptr), 0); }), "ptr is null\n");
  }
  EXPECT_EQ(printed_by([] { norvel_modem_stats_support_status_check(nullptr); }),
            "norvel_modem_stats_support_status_check, ptr is null\n");
}

}  // namespace
