#include "tvk/arguments.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "qcril-common/utilities/checked.h"
#include "qcril-common/utilities/quiet_notes.h"

namespace {

constexpr std::size_t max_hex_digits = 50;

int digit_value(char digit) {
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return digit >= '0' && digit <= '9' ? digit - '0' : 0;
}

/// digit * 16^place, held to what an int can be.
std::int32_t term(int digit, std::size_t place) {
  const double exact = std::ldexp(digit, 4 * static_cast<int>(place));
  return static_cast<std::int32_t>(
      std::min(exact, static_cast<double>(std::numeric_limits<std::int32_t>::max())));
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
  std::array<int, max_hex_digits> digits{};
  std::size_t count = 0;
  for (; str[count] != '\0'; ++count) {
    digits[checked_index(count, digits.size())] = digit_value(str[count]);
  }
  std::int32_t value = 0;
  for (std::size_t i = 0; i < count; ++i)
    value = checked_add(value, term(digits[i], count - 1 - i));
  return value;
}
