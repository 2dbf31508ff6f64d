#include "decode/page/bucket_text.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>

namespace decode::page {

namespace {

/// The longest text of a bucket, with commas.
constexpr std::size_t most_text = 160;
constexpr std::size_t most_number = 32;

char* put(char* out, std::int64_t number) {
  return std::to_chars(out, out + most_number, number).ptr;
}

/// With one or two decimals, which is finer than any measurement of the modem.
char* put(char* out, double number) {
  const double hundredths = std::round(number * 100);
  constexpr double most = 1e15;  // where doubles have no hundredths
  if (std::abs(hundredths) >= most) {
    return std::to_chars(out, out + most_number, hundredths / 100).ptr;
  }
  if (std::signbit(hundredths)) *out++ = '-';
  const auto whole = std::abs(static_cast<std::int64_t>(hundredths));
  out = put(out, whole / 100);
  *out++ = '.';
  *out++ = static_cast<char>('0' + whole / 10 % 10);
  if (whole % 10 != 0) *out++ = static_cast<char>('0' + whole % 10);
  return out;
}

template <typename T>
char* put_next(char* out, T number) {
  *out++ = ',';
  return put(out, number);
}

}  // namespace

void append_buckets(std::string& to, std::span<const bucket> buckets) {
  std::int64_t index = 0;
  to += '[';
  for (const auto& one : buckets) {
    char text[most_text];
    char* out = put(text, one.index - index);
    out = put_next(out, std::int64_t{one.count});
    out = put_next(out, one.mean());
    if (one.count > 1) {
      out = put_next(out, static_cast<double>(one.least));
      out = put_next(out, static_cast<double>(one.greatest));
    }
    *out++ = ',';
    to.append(text, out);
    index = one.index;
  }
  if (buckets.empty()) {
    to += ']';
  } else {
    to.back() = ']';
  }
}

}  // namespace decode::page
