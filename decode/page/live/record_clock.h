// Follows the modem's clock by the times of its records. A few wrong times must not move it: what
// it was set to is believed when enough records in a row say so.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

namespace decode::page {

class record_clock {
 public:
  /// How far behind the newest one a record may be, since radios and kinds of records overtake each
  /// other, and how far ahead.
  static constexpr std::int64_t most_behind = 60'000;  // ms
  static constexpr std::int64_t most_ahead = 3'600'000;
  static constexpr unsigned enough = 10;

  enum class verdict : std::uint8_t { good, strange, set_back };

  /// Of a record at this time: strange ones do not count, and from one where the clock was set back
  /// what came before is of another time.
  verdict judge(std::int64_t milliseconds) {
    const bool is_first = !newest_;
    if (is_first || is_near(milliseconds)) {
      newest_ = std::max(newest_.value_or(milliseconds), milliseconds);
      strange_ = 0;
      return verdict::good;
    }
    if (++strange_ < enough) return verdict::strange;
    strange_ = 0;
    const bool is_back = milliseconds < *newest_;
    newest_ = milliseconds;
    return is_back ? verdict::set_back : verdict::good;
  }

 private:
  [[nodiscard]] bool is_near(std::int64_t milliseconds) const {
    return milliseconds >= *newest_ - most_behind && milliseconds <= *newest_ + most_ahead;
  }

  std::optional<std::int64_t> newest_;
  unsigned strange_ = 0;
};

}  // namespace decode::page
