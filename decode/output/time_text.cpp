#include "decode/output/time_text.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "modem_stats/digits.h"

namespace decode {

namespace {

using namespace std::chrono;

/// Takes a number of `digits` digits off the front.
std::optional<int> take_number(std::string_view& text, std::size_t digits) {
  int number = 0;
  if (text.size() < digits) return std::nullopt;
  const auto* const end = text.data() + digits;
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end || text[0] == '-') return std::nullopt;
  text.remove_prefix(digits);
  return number;
}

bool take(std::string_view& text, char mark) {
  if (text.empty() || text[0] != mark) return false;
  text.remove_prefix(1);
  return true;
}

/// Takes "Z", "+02:00", "+0200", "+02" or nothing, which is UTC.
std::optional<minutes> take_offset(std::string_view& text) {
  if (text.empty() || take(text, 'Z')) return minutes(0);
  const bool west = take(text, '-');
  if (!west && !take(text, '+')) return std::nullopt;
  const auto h = take_number(text, 2);
  if (!h || *h > 23) return std::nullopt;
  minutes offset = hours(*h);
  if (!text.empty()) {
    take(text, ':');
    const auto m = take_number(text, 2);
    if (!m || *m > 59) return std::nullopt;
    offset += minutes(*m);
  }
  return west ? -offset : offset;
}

}  // namespace

void time_writer::write(std::int64_t unix_microseconds, char* out) {
  // A damaged time may be beyond year 9999, which would not fit the format.
  constexpr auto last = sys_days(year(9999) / 12 / 31) + days(1) - microseconds(1);
  const auto time = std::min(sys_time<microseconds>(microseconds(unix_microseconds)), last);
  const auto second = floor<seconds>(time);
  if (second.time_since_epoch().count() != second_) {
    second_ = second.time_since_epoch().count();
    const auto day = floor<days>(second);
    const year_month_day date(day);
    const hh_mm_ss clock(second - day);
    char* at = text_;
    const auto put = [&](unsigned pair, char after) {
      at = modem_stats::write_pair(at, pair);
      *at++ = after;
    };
    const auto number = [](auto count) { return static_cast<unsigned>(count.count()); };
    const auto y = static_cast<unsigned>(static_cast<int>(date.year()));
    at = modem_stats::write_pair(at, y / 100);
    put(y % 100, '-');
    put(static_cast<unsigned>(date.month()), '-');
    put(static_cast<unsigned>(date.day()), 'T');
    put(number(clock.hours()), ':');
    put(number(clock.minutes()), ':');
    put(number(clock.seconds()), '.');
    std::copy_n("000000Z", 7, at);
  }
  std::copy_n(text_, time_text_size, out);
  auto fraction = static_cast<std::uint32_t>((time - second).count());
  for (char* digits = out + time_text_size - 3; fraction > 0; digits -= 2, fraction /= 100) {
    modem_stats::write_pair(digits, fraction % 100);
  }
}

std::string time_text(std::int64_t unix_microseconds) {
  std::string text(time_text_size, ' ');
  time_writer().write(unix_microseconds, text.data());
  return text;
}

std::optional<std::int64_t> parse_time(std::string_view text) {
  const auto y = take_number(text, 4);
  if (!y || !take(text, '-')) return std::nullopt;
  const auto m = take_number(text, 2);
  if (!m || !take(text, '-')) return std::nullopt;
  const auto d = take_number(text, 2);
  if (!d) return std::nullopt;
  const auto date = year(*y) / *m / *d;
  if (!date.ok()) return std::nullopt;
  auto time = sys_time<microseconds>(sys_days(date));
  if (take(text, 'T') || take(text, ' ')) {
    const auto hour = take_number(text, 2);
    if (!hour || *hour > 23 || !take(text, ':')) return std::nullopt;
    const auto minute = take_number(text, 2);
    if (!minute || *minute > 59) return std::nullopt;
    time += hours(*hour) + minutes(*minute);
    if (take(text, ':')) {
      const auto second = take_number(text, 2);
      if (!second || *second > 59) return std::nullopt;
      time += seconds(*second);
      if (take(text, '.')) {
        const auto digits = std::min(text.find_first_not_of("0123456789"), text.size());
        if (digits == 0 || digits > 6) return std::nullopt;
        auto fraction = *take_number(text, digits);
        for (auto i = digits; i < 6; ++i) fraction *= 10;
        time += microseconds(fraction);
      }
    }
  }
  const auto offset = take_offset(text);
  if (!offset || !text.empty()) return std::nullopt;
  return (time - *offset).time_since_epoch().count();
}

}  // namespace decode
