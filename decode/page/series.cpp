#include "decode/page/series.h"

#include <algorithm>

namespace decode::page {

void series::add(std::int64_t milliseconds, double value) {
  const auto index = milliseconds >> shift_;
  const auto real = static_cast<float>(value);
  // Nearly every value belongs to the last bucket or to a new one after it.
  const bool is_late = !buckets_.empty() && index < buckets_.back().index;
  auto at = is_late ? std::ranges::lower_bound(buckets_, index, {}, &bucket::index)
            : !buckets_.empty() && buckets_.back().index == index ? std::prev(buckets_.end())
                                                                  : buckets_.end();
  if (at != buckets_.end() && at->index == index) {
    at->sum += value;
    at->least = std::min(at->least, real);
    at->greatest = std::max(at->greatest, real);
    ++at->count;
    return;
  }
  buckets_.insert(at, {index, value, real, real, 1});
  coarsen(most_buckets_);
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
}

}  // namespace decode::page
