// A series of values over time, in buckets: fine ones while they are few, coarser ones as they
// grow, so that any length of time fits into the same memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace decode::page {

/// Values of [index, index + 1) times the series' width.
struct bucket {
  std::int64_t index;
  double sum;
  float least;
  float greatest;
  std::uint32_t count;

  [[nodiscard]] double mean() const { return sum / count; }
};

class series {
 public:
  /// At most this many buckets, of which there are at least 2.
  explicit series(std::size_t most_buckets) : most_buckets_(most_buckets) {}

  void add(std::int64_t milliseconds, double value);
  /// Those that end by then.
  void forget_before(std::int64_t milliseconds);
  /// Joins buckets until there are at most this many.
  void coarsen(std::size_t most_buckets);

  /// In the order of time; buckets without values are not there.
  [[nodiscard]] const std::vector<bucket>& buckets() const { return buckets_; }
  /// Milliseconds, a power of two.
  [[nodiscard]] std::int64_t width() const { return std::int64_t{1} << shift_; }

 private:
  [[nodiscard]] std::vector<bucket>::iterator place_of(std::int64_t index);
  void double_width();

  std::size_t most_buckets_;
  std::size_t last_ = 0;  // where the last value went, if that bucket is still there
  unsigned shift_ = 0;
  std::vector<bucket> buckets_;
};

}  // namespace decode::page
