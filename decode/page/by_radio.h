// Something for each radio. Garbage may name any number of radios: those with the lowest numbers
// count, so that it does not matter how a capture is cut into chunks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace decode::page {

template <typename T>
class by_radio {
 public:
  /// More than any phone has.
  static constexpr std::size_t most = 8;
  using entry = std::pair<std::uint32_t, T>;

  /// Null for a radio that does not count.
  [[nodiscard]] T* find_or_add(std::uint32_t radio) {
    // Mostly it is the same as the last time.
    if (last_ < entries_.size() && entries_[last_].first == radio) return &entries_[last_].second;
    const auto at = std::ranges::lower_bound(entries_, radio, {}, &entry::first);
    last_ = static_cast<std::size_t>(at - entries_.begin());
    if (at == entries_.end() || at->first != radio) {
      if (last_ == most) return nullptr;
      entries_.insert(at, {radio, T()});
      if (entries_.size() > most) entries_.pop_back();
    }
    return &entries_[last_].second;
  }

  /// In the order of their numbers.
  [[nodiscard]] std::vector<entry>& entries() { return entries_; }
  [[nodiscard]] const std::vector<entry>& entries() const { return entries_; }

 private:
  std::vector<entry> entries_;
  std::size_t last_ = 0;  // index of the entry found last
};

}  // namespace decode::page
