// Tables of counts that do not grow beyond a limit, whatever garbage is counted, and whose content
// does not depend on how a capture was cut into chunks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace decode {

/// Counts per number below N, of which only a few occur.
template <std::size_t N>
class counter_table {
 public:
  counter_table() : counts_(N) {}

  void add(std::size_t number, std::uint64_t count = 1) {
    if (count == 0) return;
    if (counts_[number] == 0) used_.push_back(static_cast<std::uint32_t>(number));
    counts_[number] += count;
  }
  void add(const counter_table& other) {
    for (const auto number : other.used_) add(number, other.counts_[number]);
  }
  void clear() {
    for (const auto number : used_) counts_[number] = 0;
    used_.clear();
  }
  [[nodiscard]] std::uint64_t operator[](std::size_t number) const { return counts_[number]; }
  [[nodiscard]] std::uint64_t sum() const {
    std::uint64_t all = 0;
    for (const auto number : used_) all += counts_[number];
    return all;
  }
  [[nodiscard]] std::vector<std::uint32_t> in_order() const {
    auto numbers = used_;
    std::ranges::sort(numbers);
    return numbers;
  }

 private:
  std::vector<std::uint64_t> counts_;
  std::vector<std::uint32_t> used_;  // in the order of their first occurrence
};

/// Values per key for the `most` lowest keys; all others share others(). Value has add(Value).
template <typename Key, typename Value, std::size_t most>
class lowest_keys {
 public:
  using entry = std::pair<Key, Value>;

  [[nodiscard]] Value& at(const Key& key) {
    // Mostly it is the same as the last time.
    if (last_ < values_.size() && values_[last_].first == key) return values_[last_].second;
    const auto found = std::ranges::lower_bound(values_, key, {}, &entry::first);
    last_ = static_cast<std::size_t>(found - values_.begin());
    if (found != values_.end() && found->first == key) return found->second;
    if (last_ == most) return others_;
    values_.insert(found, {key, Value()});
    if (values_.size() > most) {
      others_.add(values_.back().second);
      values_.pop_back();
    }
    return values_[last_].second;
  }
  void add(const lowest_keys& other) {
    for (const auto& [key, value] : other.values_) at(key).add(value);
    add_others(other.others_);
  }
  void add_others(const Value& value) { others_.add(value); }

  /// In the order of keys.
  [[nodiscard]] const std::vector<entry>& values() const { return values_; }
  [[nodiscard]] const Value& others() const { return others_; }

 private:
  std::vector<entry> values_;
  Value others_;
  std::size_t last_ = 0;  // index of the entry found last
};

}  // namespace decode
