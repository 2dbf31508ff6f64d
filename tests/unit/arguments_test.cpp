// Numbers typed, and bytes and masks as text.
#include "tvk/arguments.h"

#include <climits>

#include "norvel_extend_qmi/norvel_extend_cmn_text.h"
#include "support/printed.h"
#include "support/test.h"

namespace {

using namespace support;

TEST(number_typed, counts_with_all_its_bits) {
  const std::pair<std::string, int> rows[] = {{"2147483647", INT_MAX},
                                              {"-2147483648", INT_MIN},
                                              {"0x7FFFFFFF", INT_MAX},
                                              {"0XabCDEF", 11259375}};
  for (auto [text, number] : rows) EXPECT_EQ(norvel_string_to_int(text.data()), number);
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

}  // namespace
