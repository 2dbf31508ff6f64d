#include "host/near_name.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace host {

namespace {

/// How many characters must be changed, added or removed to get from one to the other.
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);  // distances of the first i characters of `from`
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (const char each : from) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = diagonal + (each == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string_view near_name(std::string_view text, std::span<const std::string_view> names) {
  constexpr std::size_t longest = 64;
  std::string_view nearest;
  if (text.size() > longest) return nearest;
  std::size_t smallest = text.size() / 3 + 1;
  for (const auto name : names) {
    const auto one = distance(text, name);
    if (one >= smallest) continue;
    smallest = one;
    nearest = name;
  }
  return nearest;
}

}  // namespace host
