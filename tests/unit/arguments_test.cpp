// Numbers on the command line, and bytes and masks as text.
#include "tvk/arguments.h"

#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>
#include <string>

#include "norvel_extend_qmi/norvel_extend_cmn_text.h"
#include "qcril-common/utilities/quiet_notes.h"
#include "support/bytes.h"
#include "support/printed.h"

namespace {

using support::printed_by;

int string_to_int(std::string text) {
  return norvel_string_to_int(text.data());
}

int hex_string_to_int(std::string text) {
  return norvel_hex_string_to_int(text.data());
}

TEST(arguments, text_denotes_a_number) {
  const struct {
    const char* text;
    int value;
  } rows[] = {
      {"0x1A", 26},
      {"0X1a", 26},
      {"1A", 1},
      {"x1A", 0},
      {"", 0},
      {"0", 0},
      {"0x", 0},
      {"0xZZ", 0},
      {"0x 1", 1},
      {"0x-1", 1},
      {"0x0x1", 1},
      {"0xabcdef", 11259375},
      {"0xABCDEF", 11259375},
      {"0xG1@1`1", 0x010101},
      {" 12", 12},
      {"-12", -12},
      {"+12", 12},
      {"007", 7},
      {"-0x10", 0},
      {"0x7FFFFFFF", INT_MAX},
      {"0x000000007FFFFFFF", INT_MAX},
      {"2147483647", INT_MAX},
      {"-2147483648", INT_MIN},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(string_to_int(row.text), row.value);
  }
}

TEST(arguments, hexadecimal_digits_without_prefix) {
  EXPECT_EQ(hex_string_to_int(""), 0);
  EXPECT_EQ(hex_string_to_int("7FFFFFFF"), INT_MAX);
  EXPECT_EQ(hex_string_to_int("0x10"), 16);
  EXPECT_EQ(hex_string_to_int(std::string(48, '0') + "ff"), 255);
  EXPECT_EQ(hex_string_to_int(std::string(50, 'g')), 0);
}

TEST(arguments, null_is_0_and_reported_unless_quiet) {
  for (const auto quiet : std::initializer_list<unsigned char>{0, 1, 2}) {
    quiet_notes = quiet;
    for (auto* convert : {norvel_string_to_int, norvel_hex_string_to_int}) {
      int value = 1;
      EXPECT_EQ(printed_by([&] { value = convert(nullptr); }),
                quiet == 1 ? "" : "\ninput is null\n");
      EXPECT_EQ(value, 0);
    }
  }
}

TEST(arguments_death, hexadecimal_out_of_bounds_aborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // A term above 0x7FFFFFFF saturates; the addition is what overflows.
  for (const char* text :
       {"80000000", "FFFFFFFF", "100000001", "FFFFFFFFFFFFFFFFFFFF", "7FFFFFFF1"}) {
    SCOPED_TRACE(text);
    EXPECT_EXIT(hex_string_to_int(text), testing::KilledBySignal(SIGABRT), "");
  }
  EXPECT_EXIT(hex_string_to_int(std::string(51, '0')), testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(string_to_int("0x80000000"), testing::KilledBySignal(SIGABRT), "");
}

TEST(bytes_as_text, two_lowercase_digits_each_and_no_terminator) {
  unsigned char in[] = {0xAB, 0x01, 0x00, 0xFF, 0x9C};
  unsigned char out[16];
  const auto written = [&](unsigned char* data, int len) {
    std::fill(std::begin(out), std::end(out), static_cast<unsigned char>('#'));
    norvel_byte_to_hex(data, len, out);
    return std::string(std::begin(out), std::end(out));
  };
  EXPECT_EQ(written(in, 2), "ab01############");
  EXPECT_EQ(written(in, 5), "ab0100ff9c######");
  EXPECT_EQ(written(in, 1), "ab##############");
  EXPECT_EQ(written(in, 0), "################");
  EXPECT_EQ(written(in, -1), "################");
  EXPECT_EQ(written(nullptr, 2), "################");
}

TEST(bytes_as_text, buffer_is_printed_as_a_line) {
  auto data = support::hex("00 0a ff");
  data.resize(4097, 0xC3);
  const std::string function = "RIL[norvel_print_data_with_hex:#]: ";
  const struct {
    unsigned char* data;
    unsigned int len;
    std::string message;
  } rows[] = {
      {data.data(), 3, "data hex show, len(3), data: 00 0A FF"},
      {data.data(), 4097, "print_data_with_hex, invalid data len(4097)"},
      {data.data(), 0, "print_data_with_hex, invalid data len(0)"},
      {nullptr, 3, "print_data_with_hex, data is null"},
      {nullptr, 0, "print_data_with_hex, data is null"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.len);
    EXPECT_EQ(printed_by([&] { norvel_print_data_with_hex(row.data, row.len); }),
              function + row.message + "\n");
  }
}

TEST(diag_mask, lowest_bit_names_the_processor) {
  const struct {
    unsigned int mask;
    const char* name;
  } rows[] = {{1, " APSS"},     {2, " MPSS"},    {4, " LPASS"},         {8, " WCNSS"},
              {16, " SENSORS"}, {32, " WDSP"},   {6, " MPSS"},          {63, " APSS"},
              {48, " SENSORS"}, {0x60, " WDSP"}, {0x80000020, " WDSP"}, {0x40, ""},
              {0, ""},          {0xFFFFFFC0, ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.mask);
    EXPECT_STREQ(norvel_print_diag_mask_name(row.mask), row.name);
  }
}

}  // namespace
