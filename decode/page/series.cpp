#include "decode/page/series.h"

#include <algorithm>

namespace decode::page {

void series::add(std::int64_t milliseconds, double value) {
  const auto index = milliseconds >> shift_;
  const auto real = static_cast<float>(value);
  if (last_ >= buckets_.size() || buckets_[last_].index != index) {
    const auto at = place_of(index);
    last_ = static_cast<std::size_t>(at - buckets_.begin());
    if (at == buckets_.end() || at->index != index) {
      buckets_.insert(at, {index, value, real, real, 1});
      coarsen(most_buckets_);
      return;
    }
  }
  auto& one = buckets_[last_];
  one.sum += value;
  one.least = std::min(one.least, real);
  one.greatest = std::max(one.greatest, real);
  ++one.count;
}

/// The bucket with this index, or the one before which it belongs. Time mostly goes on: a new
/// bucket is the last one, and where the time has been before, the next one.
std::vector<bucket>::iterator series::place_of(std::int64_t index) {
  if (buckets_.empty() || buckets_.back().index < index) return buckets_.end();
  if (last_ + 1 < buckets_.size() && buckets_[last_ + 1].index == index) {
    return buckets_.begin() + static_cast<std::ptrdiff_t>(last_ + 1);
  }
  return std::ranges::lower_bound(buckets_, index, {}, &bucket::index);
}

void series::forget_before(std::int64_t milliseconds) {
  buckets_.erase(buckets_.begin(),
                 std::ranges::lower_bound(buckets_, milliseconds >> shift_, {}, &bucket::index));
}

void series::coarsen(std::size_t most_buckets) {
  while (buckets_.size() > most_buckets) double_width();
}

void series::double_width() {
  ++shift_;
  auto end = buckets_.begin();
  for (auto& one : buckets_) {
    one.index >>= 1;
    if (end != buckets_.begin() && std::prev(end)->index == one.index) {
      auto& last = *std::prev(end);
      last.sum += one.sum;
      last.least = std::min(last.least, one.least);
      last.greatest = std::max(last.greatest, one.greatest);
      last.count += one.count;
    } else {
      *end++ = one;
    }
  }
  buckets_.erase(end, buckets_.end());
  buckets_.shrink_to_fit();
}

}  // namespace decode::page
