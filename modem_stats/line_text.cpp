#include "modem_stats/line_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "modem_stats/digits.h"

namespace modem_stats {

namespace {

/// Enough for any number here.
constexpr std::ptrdiff_t number_size = 24;

/// Below this, hundredths fit 32 bits.
constexpr double largest_fast_real = 1e7;

/// A float times 100 is exact in a double, and then rounding to the nearest, ties to even, is what
/// "%.2f" does.
bool is_fast_real(double value) {
  return std::fabs(value) < largest_fast_real &&
         static_cast<double>(static_cast<float>(value)) == value;
}

char* write_fast_real(char* out, double value) {
  if (std::signbit(value)) *out++ = '-';
  return write_hundredths(out, static_cast<std::uint32_t>(std::nearbyint(std::fabs(value) * 100)));
}

}  // namespace

void line_text::add(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  add_args(format, args);
  va_end(args);
}

void line_text::add_args(const char* format, std::va_list args) {
  char* out = text_.data() + size_;
  char* const end = text_.data() + max_size;
  const auto put = [&](const char* text, std::size_t size) {
    out = std::copy_n(text, std::min(size, static_cast<std::size_t>(end - out)), out);
  };
  const auto number = [&](auto value, int base = 10) {
    out = std::to_chars(out, end, value, base).ptr;
  };
  while (true) {
    const char* const begin = format;
    while (*format != '%' && *format != '\0') ++format;
    put(begin, static_cast<std::size_t>(format - begin));
    if (*format == '\0') break;
    const bool fits = end - out >= number_size;
    if (fits && format[1] == 'd') {
      out = write_signed(out, va_arg(args, int));
      format += 2;
    } else if (fits && format[1] == '.' && format[2] == '2' && format[3] == 'f') {
      const double value = va_arg(args, double);
      if (is_fast_real(value)) {
        out = write_fast_real(out, value);
      } else {
        std::array<char, 320> text;  // the largest double has 309 digits before the point
        const int size = std::snprintf(text.data(), text.size(), "%.2f", value);
        put(text.data(), static_cast<std::size_t>(size));
      }
      format += 4;
    } else if (format[1] == 's') {
      const char* const text = va_arg(args, const char*);
      put(text, std::strlen(text));
      format += 2;
    } else if (fits && format[1] == 'x') {
      number(va_arg(args, unsigned), 16);
      format += 2;
    } else if (fits && format[1] == 'u') {
      out = write_unsigned(out, va_arg(args, unsigned));
      format += 2;
    } else if (fits && format[1] == 'l' && format[2] == 'u') {
      number(va_arg(args, unsigned long));
      format += 3;
    } else if (fits && format[1] == 'l' && format[2] == 'd') {
      number(va_arg(args, long));
      format += 3;
    } else {
      const auto room = static_cast<std::size_t>(end - out);
      const int size = std::vsnprintf(out, room + 1, format, args);
      if (size > 0) out += std::min(static_cast<std::size_t>(size), room);
      break;
    }
  }
  size_ = static_cast<std::size_t>(out - text_.data());
}

}  // namespace modem_stats
