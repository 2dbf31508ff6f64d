#include "tvk/arguments.h"

#include <cstdint>
#include <cstdlib>

#include "qcril-common/utilities/checked.h"
#include "qcril-common/utilities/quiet_notes.h"

namespace {

constexpr std::size_t max_hex_digits = 50;

int digit_value(char digit) {
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return digit >= '0' && digit <= '9' ? digit - '0' : 0;
}

}  // namespace

int norvel_string_to_int(char* str) {
  if (str == nullptr) {
    print_note("\ninput is null\n");
    return 0;
  }
  if (str[0] == '0' && (str[1] == 'x' || str[1] == 'X')) return norvel_hex_string_to_int(str + 2);
  return std::atoi(str);
}

int norvel_hex_string_to_int(char* str) {
  if (str == nullptr) {
    print_note("\ninput is null\n");
    return 0;
  }
  std::int32_t value = 0;
  for (std::size_t i = 0; str[i] != '\0'; ++i) {
    if (i >= max_hex_digits) abort_process();
    value = checked_add(checked_multiply(value, 16), digit_value(str[i]));
  }
  return value;
}
